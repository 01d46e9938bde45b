// Wipes a secret when its scope ends.
#pragma once
#include <string>

#include "Platform/Memory.h"

namespace vexlo {

/// Overwrites a text with zeros at the end of its own life, also when an exception ends it. The
/// text is borrowed and lives longer.
class WipeAtEnd {
 public:
  explicit WipeAtEnd(std::string& secret) noexcept : secret_(secret) {}
  WipeAtEnd(const WipeAtEnd&) = delete;
  WipeAtEnd& operator=(const WipeAtEnd&) = delete;
  ~WipeAtEnd() { platform::wipe(secret_); }

 private:
  std::string& secret_;
};

}  // namespace vexlo
