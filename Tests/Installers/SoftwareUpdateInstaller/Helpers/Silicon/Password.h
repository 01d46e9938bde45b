// The passwords of PasswordInMemoryTest, which both of its processes compute.
#pragma once
#include <cstddef>
#include <string>

namespace vexlo {

/// How a password begins; the rest is printable ASCII. Computed byte by byte, so that the process
/// that is searched never stores two of them in a row itself.
inline std::string password(const std::string& beginning, std::size_t length) {
  std::string text;
  text.reserve(128);
  for (const char byte : beginning) {
    text += byte;
  }
  for (std::size_t place = text.size(); place < length; ++place) {
    text +=
        static_cast<char>('A' + (place * 37 + place / 26 + 11) % 26 + (place % 2 == 0 ? 32 : 0));
  }
  return text;
}

}  // namespace vexlo
