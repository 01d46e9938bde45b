// Wipes secrets from memory.
#pragma once
#include <string>

namespace platform {

/// Overwrites the text's whole buffer with zeros (the compiler may not leave that out), then
/// empties it.
void wipe(std::string& secret) noexcept;

/// Keeps the memory pages that hold the string in memory where the process may (the limit of locked
/// memory), until the process ends: other secrets may lie on the same pages.
void keepFromSwap(const std::string& secret) noexcept;

/// While one lives, a crash of the process leaves no core file, in which a secret could be read.
/// The limit that the process had comes back when the last one goes. Usable from any thread.
class NoCoreFile {
 public:
  NoCoreFile() noexcept;
  NoCoreFile(const NoCoreFile& /*other*/) noexcept : NoCoreFile() {}
  NoCoreFile& operator=(const NoCoreFile&) noexcept = default;
  ~NoCoreFile();
  friend bool operator==(const NoCoreFile&, const NoCoreFile&) = default;
};

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
