// Property lists: one value type, read from the XML, binary and old-style text forms.
#pragma once
#include <cstddef>
#include <cstdint>
#include <expected>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace platform {

/// A moment of a property list, in seconds since 2001-01-01 00:00:00 UTC.
struct PropertyListDate {
  double secondsSince2001 = 0;
  friend bool operator==(const PropertyListDate&, const PropertyListDate&) = default;
};

/// One property-list value. A plain value; Booleans, integers and reals stay apart.
class PropertyList {
 public:
  using Array = std::vector<PropertyList>;
  using Dictionary = std::map<std::string, PropertyList, std::less<>>;
  using Data = std::vector<std::byte>;
  /// Texts are UTF-8. An unsigned integer above the signed range is kept as `std::uint64_t`.
  using Value = std::variant<std::string, std::int64_t, std::uint64_t, double, bool,
                             PropertyListDate, Data, Array, Dictionary>;

  PropertyList() = default;                                               // an empty text
  PropertyList(Value value) : value_(std::move(value)) {}                 // NOLINT
  PropertyList(const char* text) : value_(std::string(text)) {}           // NOLINT
  PropertyList(std::string text) : value_(std::move(text)) {}             // NOLINT
  PropertyList(std::int64_t number) : value_(number) {}                   // NOLINT
  PropertyList(bool flag) : value_(flag) {}                               // NOLINT
  PropertyList(Array array) : value_(std::move(array)) {}                 // NOLINT
  PropertyList(Dictionary dictionary) : value_(std::move(dictionary)) {}  // NOLINT

  [[nodiscard]] const Value& value() const noexcept { return value_; }
  [[nodiscard]] Value& value() noexcept { return value_; }

  /// The payload when the value is of that very type, else null.
  template <typename Type>
  [[nodiscard]] const Type* as() const noexcept {
    return std::get_if<Type>(&value_);
  }
  /// The value under `key` when this is a dictionary that has it, else null.
  [[nodiscard]] const PropertyList* find(std::string_view key) const noexcept;

  friend bool operator==(const PropertyList&, const PropertyList&) = default;

 private:
  Value value_;
};

/// Why bytes are no property list, and where: "line 3: expected ';' after the value of \"Build\"".
struct PropertyListError {
  std::string message;
};

/// Reads a property list in any of its three forms, told apart by the first bytes. Nesting is
/// bounded (512 levels); time and memory are linear in the input; any input gets an answer. Of a
/// key that is there twice the last value counts. More than `maximumValues` values are an error:
/// a value takes many times the memory of its shortest spelling.
[[nodiscard]] std::expected<PropertyList, PropertyListError> parsePropertyList(
    std::string_view bytes, std::size_t maximumValues = std::numeric_limits<std::size_t>::max());

/// The XML form, version 1.0, with a closing line feed. `parsePropertyList` reads the same value
/// back, except that a date loses its fraction of a second, which the form has no place for.
/// Throws `std::invalid_argument` for what the form can't hold, and drops nothing: texts that are
/// not UTF-8 or have control characters other than tab and line ends, dates outside the years
/// 0000 to 9999, nesting beyond 512 levels.
[[nodiscard]] std::string toXML(const PropertyList& value);

/// The binary form, version 00, which holds every value that XML can't but for texts that are not
/// UTF-8 and nesting beyond 512 levels: `std::invalid_argument`. `parsePropertyList` reads the same
/// value back.
[[nodiscard]] std::string toBinary(const PropertyList& value);

/// For log lines: texts in double quotation marks (with `\"`, `\\`, `\n` and the like escaped),
/// numbers in decimal (a real always with a fraction or an exponent), Booleans true or false, dates
/// as «2024-06-15 00:00:00 +0000», data as «5 bytes», arrays `[a, b]`, dictionaries
/// `["key": value]` (empty: `[:]`), on one line.
[[nodiscard]] std::string describe(const PropertyList& value);

}  // namespace platform
