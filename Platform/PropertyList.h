// Property lists: one value type for the XML, binary and old-style text formats.
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

/// A property list's date, in seconds since 2001-01-01 00:00:00 UTC.
struct PropertyListDate {
  double secondsSince2001 = 0;
  friend bool operator==(const PropertyListDate&, const PropertyListDate&) = default;
};

/// One property-list value. Booleans, integers and reals are distinct types.
class PropertyList {
 public:
  using Array = std::vector<PropertyList>;
  using Dictionary = std::map<std::string, PropertyList, std::less<>>;
  using Data = std::vector<std::byte>;
  /// Strings are UTF-8. `std::uint64_t` is used only for integers above the signed range.
  using Value = std::variant<std::string, std::int64_t, std::uint64_t, double, bool,
                             PropertyListDate, Data, Array, Dictionary>;

  PropertyList() = default;                                               // an empty string
  PropertyList(Value value) : value_(std::move(value)) {}                 // NOLINT
  PropertyList(const char* text) : value_(std::string(text)) {}           // NOLINT
  PropertyList(std::string text) : value_(std::move(text)) {}             // NOLINT
  PropertyList(std::int64_t number) : value_(number) {}                   // NOLINT
  PropertyList(bool flag) : value_(flag) {}                               // NOLINT
  PropertyList(Array array) : value_(std::move(array)) {}                 // NOLINT
  PropertyList(Dictionary dictionary) : value_(std::move(dictionary)) {}  // NOLINT

  [[nodiscard]] const Value& value() const noexcept { return value_; }
  [[nodiscard]] Value& value() noexcept { return value_; }

  /// The value if it has exactly this type, else null.
  template <typename Type>
  [[nodiscard]] const Type* as() const noexcept {
    return std::get_if<Type>(&value_);
  }
  /// The value under `key` if this is a dictionary that has it, else null.
  [[nodiscard]] const PropertyList* find(std::string_view key) const noexcept;

  /// Not defaulted here: comparing the variant would instantiate traits of this class while it is
  /// incomplete, and clang's standard library would then move arrays of it byte by byte.
  friend bool operator==(const PropertyList& left, const PropertyList& right);

 private:
  Value value_;
};

/// Why and where parsing failed: "line 3: expected ';' after the value of \"Build\"".
struct PropertyListError {
  std::string message;
};

/// Parses a property list in any of the three formats, detected by the first bytes. Nesting is
/// limited to 512 levels; time and memory are linear in the input. The last of duplicate keys wins.
/// More than `maximumValues` values are an error, since a value takes many times the memory of its
/// shortest spelling.
[[nodiscard]] std::expected<PropertyList, PropertyListError> parsePropertyList(
    std::string_view bytes, std::size_t maximumValues = std::numeric_limits<std::size_t>::max());

/// Serializes as XML, version 1.0, with a final line feed. `parsePropertyList` reads the same value
/// back, except that dates lose their fraction of a second. Throws `std::invalid_argument` for what
/// XML can't represent: strings that are not UTF-8 or have control characters other than tab and
/// line ends, dates outside the years 0000 to 9999, nesting beyond 512 levels.
[[nodiscard]] std::string toXML(const PropertyList& value);

/// Serializes as binary, version 00. `parsePropertyList` reads the same value back. Throws
/// `std::invalid_argument` only for strings that are not UTF-8 and nesting beyond 512 levels.
[[nodiscard]] std::string toBinary(const PropertyList& value);

/// For log lines, on one line: strings in double quotes (with `\"`, `\\`, `\n` and the like
/// escaped), numbers in decimal (reals always with a fraction or an exponent), Booleans true or
/// false, dates as «2024-06-15 00:00:00 +0000», data as «5 bytes», arrays `[a, b]`, dictionaries
/// `["key": value]` (empty: `[:]`).
[[nodiscard]] std::string describe(const PropertyList& value);

}  // namespace platform
