// Wipes secrets from memory.
#pragma once
#include <string>

namespace platform {

/// Overwrites the text's whole buffer with zeros (the compiler may not leave that out), then
/// empties it.
void wipe(std::string& secret) noexcept;

/// Wipes a text at the end of its own life, also when an exception ends it. The text is borrowed
/// and lives longer.
class WipeAtEnd {
 public:
  explicit WipeAtEnd(std::string& secret) noexcept : secret_(secret) {}
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;
  ~WipeAtEnd() { wipe(secret_); }

 private:
  std::string& secret_;
};

}  // namespace platform
