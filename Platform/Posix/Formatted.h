// Formats numbers as printf does.
#pragma once
#include <array>
#include <cstdio>
#include <string>

namespace platform {

/// At most 511 characters; the largest number of type double has 309 digits before the point.
template <typename... Numbers>
std::string formatted(const char* format, Numbers... numbers) {
  std::array<char, 512> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, numbers...);
  return buffer.data();
}

}  // namespace platform
