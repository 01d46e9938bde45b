#include "Platform/RealNumbers.h"

#include <array>
#include <charconv>
#include <system_error>

namespace platform {

std::optional<double> parseReal(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                  : std::nullopt;
}

std::string shortestText(double number) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string decimalText(double number, int places) {
  std::array<char, 512> text{};  // the largest number has 309 digits before the point
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number,
                                     std::chars_format::fixed, places)
                           .ptr};
}

}  // namespace platform
