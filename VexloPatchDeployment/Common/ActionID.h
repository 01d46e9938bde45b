// Identifies an action of the patch action file.
#pragma once
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "Platform/Export.h"
#include "VexloPatchDeployment/Common/ActionNames.h"

namespace vexlo {

/// An action of which only the code is known.
struct UndefinedAction {
  std::string code;  ///< The action code exactly as it was given.
  friend bool operator==(const UndefinedAction&, const UndefinedAction&) = default;
};

/// A serialized action can't be parsed; `what()` says what was expected.
class VEXLO_EXPORT ActionIDDecodingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A known action, or `undefined` with its code. Equal if the alternatives and, for `undefined`,
/// the codes are equal, so `undefined("2001")` differs from `siliconBatteryPercentageCheck`.
class VEXLO_EXPORT ActionID {
 public:
  using Value = std::variant<KnownAction, UndefinedAction>;

  ActionID(KnownAction action) noexcept : value_(action) {}                 // NOLINT: converts
  ActionID(UndefinedAction action) noexcept : value_(std::move(action)) {}  // NOLINT: converts

  /// Converts an action code: exactly the codes of the known actions become these, any other string
  /// becomes an `undefined` with the string unchanged.
  explicit ActionID(std::string_view code);

  /// The key that orders actions: the code as a number, or 999999 if an `undefined` action's code
  /// is not a decimal signed 64-bit integer.
  [[nodiscard]] std::int64_t sortOrder() const;

  /// The action code: "2005", or the code of an `undefined` action.
  [[nodiscard]] std::string_view code() const;

  [[nodiscard]] const Value& value() const noexcept { return value_; }

  /// The serialized form, a JSON object with one member: `{"minimumDiskSpaceCheck":{}}`,
  /// `{"undefined":{"_0":"3001"}}`.
  [[nodiscard]] std::string encode() const;
  /// Parses the serialized form; unknown members are ignored. Throws `ActionIDDecodingError` if the
  /// text is not such an object ("Invalid number of keys found, expected one." for none or several
  /// recognised members).
  [[nodiscard]] static ActionID decode(std::string_view json);

  friend bool operator==(const ActionID&, const ActionID&) = default;

 private:
  Value value_;
};

/// The alternative's name; an undefined code in quotes: undefined("2099").
[[nodiscard]] VEXLO_EXPORT std::string describe(const ActionID& action);
VEXLO_EXPORT std::ostream& operator<<(std::ostream& out, const ActionID& action);

}  // namespace vexlo

template <>
struct std::hash<vexlo::UndefinedAction> {
  std::size_t operator()(const vexlo::UndefinedAction& action) const noexcept {
    return std::hash<std::string>{}(action.code);
  }
};

/// Consistent with equality.
template <>
struct std::hash<vexlo::ActionID> {
  std::size_t operator()(const vexlo::ActionID& action) const noexcept {
    return std::hash<vexlo::ActionID::Value>{}(action.value());
  }
};
