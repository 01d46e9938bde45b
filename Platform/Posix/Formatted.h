// Formats numbers as printf does, for dates.
#pragma once
#include <array>
#include <cstdio>
#include <string>

namespace platform {

/// At most 127 characters.
template <typename... Numbers>
std::string formatted(const char* format, Numbers... numbers) {
  std::array<char, 128> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, numbers...);
  return buffer.data();
}

}  // namespace platform
