// Wipes secrets from memory.
#pragma once
#include <concepts>
#include <string>

namespace platform {

/// Overwrites the string's whole buffer with zeros, which the compiler can't optimize away, then
/// clears it. Also overwrites the registers that it was copied through.
void wipe(std::string& secret) noexcept;

namespace detail {
void callThenWipeStack(void (*call)(const void* function), const void* function);
}

/// Calls `use`, which handles a secret, and then overwrites the 64 KiB of stack below the caller,
/// where libraries and the compiler may have left copies; also after an exception.
template <std::invocable Use>
void thenWipeStack(const Use& use) {
  detail::callThenWipeStack([](const void* function) { (*static_cast<const Use*>(function))(); },
                            &use);
}

/// Locks the pages that hold the string in memory, within the limit of locked memory. They stay
/// locked until the process exits, because other secrets may be on the same pages.
void keepFromSwap(const std::string& secret) noexcept;

/// Prevents core files, which could contain secrets, while an instance exists. The process's limit
/// is restored when the last one is destroyed. Thread-safe.
class NoCoreFile {
 public:
  NoCoreFile() noexcept;
  NoCoreFile(const NoCoreFile& /*other*/) noexcept : NoCoreFile() {}
  NoCoreFile& operator=(const NoCoreFile&) noexcept = default;
  ~NoCoreFile();
  friend bool operator==(const NoCoreFile&, const NoCoreFile&) = default;
};

/// Wipes a string when it goes out of scope, including by an exception. The string must outlive it.
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
