// Joins the pieces of a message.
#pragma once
#include <array>
#include <charconv>
#include <concepts>
#include <string>
#include <string_view>

namespace LogCore {
namespace detail {

inline void append(std::string& out, std::string_view piece) { out += piece; }
inline void append(std::string& out, std::same_as<bool> auto piece) {
  out += piece ? "true" : "false";
}
inline void append(std::string& out, std::same_as<char> auto piece) { out += piece; }
template <std::integral Number>
  requires(!std::same_as<Number, bool> && !std::same_as<Number, char>)
void append(std::string& out, Number piece) {
  std::array<char, 24> digits;  // NOLINT(*-member-init): the sign and digits of any integer
  out.append(digits.data(), std::to_chars(digits.begin(), digits.end(), piece).ptr);
}

}  // namespace detail

/// Joins strings and characters unchanged, integers in base 10 and Booleans as true or false.
template <typename... Pieces>
[[nodiscard]] std::string text(const Pieces&... pieces) {
  std::string out;
  (detail::append(out, pieces), ...);
  return out;
}

}  // namespace LogCore
