// Comparison that ignores the case of ASCII letters.
#pragma once
#include <algorithm>
#include <string_view>

namespace vexlo {

[[nodiscard]] constexpr char asciiLowerCase(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

[[nodiscard]] constexpr bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept {
  return std::ranges::equal(a, b, {}, asciiLowerCase, asciiLowerCase);
}

}  // namespace vexlo
