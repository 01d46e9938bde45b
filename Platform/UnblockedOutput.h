// Writing to a file that others may use, too, without ever blocking.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Platform/Descriptor.h"

namespace platform {

/// Holds the file of a descriptor open and writes to it without blocking, whatever its flags, which
/// other processes may share. A pipe or terminal is opened again for this. Not thread-safe.
class UnblockedOutput {
 public:
  UnblockedOutput() = default;
  /// Doesn't use `descriptor` later. Empty if it isn't open or no descriptor is free.
  explicit UnblockedOutput(int descriptor);
  [[nodiscard]] explicit operator bool() const noexcept { return static_cast<bool>(file_); }

  /// Whether `descriptor` refers to the file. Certain, since a file that is held open keeps its
  /// identity for itself.
  [[nodiscard]] bool isFileOf(int descriptor) const noexcept;
  /// Writes what fits now, without raising SIGPIPE. Returns the number of bytes, which may be 0, or
  /// -1 with errno set.
  [[nodiscard]] std::ptrdiff_t write(std::string_view bytes) const noexcept;
  /// Waits until something may fit, at most for `longest`.
  void waitForRoom(std::chrono::nanoseconds longest) const noexcept;

 private:
  enum class Way : std::uint8_t {
    whole,         ///< Not a kind of file whose writes wait for a reader, or opened again for this.
    socket,        ///< Each call says that it doesn't block.
    pipeInPieces,  ///< Couldn't be opened again: pieces that fit if the system says that there is
                   ///< room.
    terminalInBytes,
  };

  Descriptor file_;
  Way way_ = Way::whole;
};

}  // namespace platform
