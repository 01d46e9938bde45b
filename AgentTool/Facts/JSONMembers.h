// Typed access to members of a JSON document, with errors that name the member and what was
// expected.
#pragma once
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Facts/CompactJSON.h"

namespace agent_tool {

/// The place of a value, from the inside out; formatted only for errors.
struct JSONPlace {
  const JSONPlace* around = nullptr;
  std::string_view member;  ///< Empty for an element.
  std::size_t index = 0;    ///< Of an element.

  /// «applications › com.apple.mail › [1]»
  [[nodiscard]] std::string path() const;
};

/// Throws `FileCodec::DecodingError`, without a file.
[[noreturn]] void reject(const JSONValue& value, const JSONPlace& place, std::string expected);

// The value if it has the type; otherwise throws like `reject`.
[[nodiscard]] bool takeBoolean(const JSONValue& value, const JSONPlace& place);
[[nodiscard]] std::int64_t takeInteger(const JSONValue& value, const JSONPlace& place);
/// An integer that fits into `Number`; `range` names its range: «signed 32-bit».
template <std::integral Number>
[[nodiscard]] Number takeInteger(const JSONValue& value, const JSONPlace& place,
                                 std::string_view range) {
  const auto number = value.integer();
  if (!number || !std::in_range<Number>(*number)) {
    reject(value, place, LogCore::text("an integer of the ", range, " range"));
  }
  return static_cast<Number>(*number);
}
[[nodiscard]] std::string_view takeString(const JSONValue& value, const JSONPlace& place);
[[nodiscard]] std::optional<std::string_view> takeOptionalString(const JSONValue& value,
                                                                 const JSONPlace& place);

/// Whether the value has the type; false for null.
[[nodiscard]] bool isPresent(const JSONValue& value, JSONValue::Type type, const JSONPlace& place);

/// Calls `visit(name, value, place)` for each member of an object; accepts null.
template <typename Visit>
void takeMembers(const JSONValue& value, const JSONPlace& place, const Visit& visit) {
  if (isPresent(value, JSONValue::Type::object, place)) {
    value.forEachMember([&](std::string_view name, const JSONValue& member) {
      visit(name, member, JSONPlace{.around = &place, .member = name});
    });
  }
}

/// Calls `visit(value, place)` for each element of an array; accepts null.
template <typename Visit>
void takeElements(const JSONValue& value, const JSONPlace& place, const Visit& visit) {
  if (isPresent(value, JSONValue::Type::array, place)) {
    std::size_t index = 0;
    value.forEachElement([&](const JSONValue& element) {
      visit(element, JSONPlace{.around = &place, .member = {}, .index = index++});
    });
  }
}

/// What was found, for errors: «null», «the integer 7», «"sun"», «an array».
[[nodiscard]] std::string describeFound(const JSONValue& value);

/// The error for a text that `CompactJSON` rejects: «column 7: expected …», without a file.
[[nodiscard]] FileCodec::DecodingError whyNoJSON(std::string_view text);

}  // namespace agent_tool
