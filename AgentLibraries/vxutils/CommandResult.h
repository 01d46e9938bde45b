// What a finished child process leaves: exit status and output.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vxutils {

/// Outcome of a command. `output` and `rawOutput()` are one buffer, read as text or as bytes.
struct CommandResult {
  /// The child's exit status; 128 + n when signal n ended it, never 0 after the time-out; 127 when
  /// it could not be started, 126 when its program is not executable; -1 when the system did not
  /// keep the status, because the process ignores SIGCHLD or some other code of it has waited for
  /// the child. The output is whole then all the same.
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error as they came, in one text.

  [[nodiscard]] std::span<const std::byte> rawOutput() const noexcept {
    return std::as_bytes(std::span(output));
  }
  friend bool operator==(const CommandResult&, const CommandResult&) = default;
};

}  // namespace vxutils
