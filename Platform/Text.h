// String helpers for all layers.
#pragma once
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

/// Parses the whole string as digits, with an optional minus sign for signed types. Absent for
/// anything else (an empty string, a plus sign, white space) and for numbers out of range.
template <std::integral Number>
[[nodiscard]] std::optional<Number> wholeNumber(std::string_view text, int base = 10) noexcept {
  Number number{};
  const char* const begin = text.data();  // NOLINT(bugprone-suspicious-stringview-data-usage)
  const char* const end = begin + text.size();
  const auto [stop, error] = std::from_chars(begin, end, number, base);
  return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

inline constexpr std::string_view kSmallDigits = "0123456789abcdef";
inline constexpr std::string_view kCapitalDigits = "0123456789ABCDEF";

/// The last `count` digits of `number` in base 16.
[[nodiscard]] inline std::string hexadecimal(std::uint32_t number, std::size_t count,
                                             std::string_view digits = kSmallDigits) {
  std::string out(count, '0');
  for (std::size_t at = count; at > 0; number >>= 4U) {
    out[--at] = digits[number & 15U];
  }
  return out;
}

/// The string without leading and trailing white space.
[[nodiscard]] constexpr std::string_view trimmed(std::string_view text,
                                                 std::string_view blanks = " \t\n\v\f\r") noexcept {
  const std::size_t first = text.find_first_not_of(blanks);
  return first == std::string_view::npos
             ? std::string_view{}
             : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The strings, or what `textOf` makes of each item, joined with `separator`.
template <typename Items, typename TextOf = std::identity>
[[nodiscard]] std::string joined(const Items& items, std::string_view separator,
                                 const TextOf& textOf = {}) {
  std::string out;
  for (std::string_view between; const auto& item : items) {
    out += between;
    out += std::invoke(textOf, item);
    between = separator;
  }
  return out;
}

}  // namespace platform
