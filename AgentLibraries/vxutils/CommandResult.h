// The result of a command: exit status and output.
#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vxutils {

/// `output` and `rawOutput()` are views of one buffer, as text and as bytes.
struct CommandResult {
  /// The child's exit status; 128 + n if signal n killed it, never 0 after a time-out; 127 if it
  /// could not be started, 126 if its program is not executable; -1 if the status was lost because
  /// the process ignores SIGCHLD or other code has waited for the child. The output is complete
  /// even then.
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error, interleaved.

  [[nodiscard]] std::span<const std::byte> rawOutput() const noexcept {
    return std::as_bytes(std::span(output));
  }
  friend bool operator==(const CommandResult&, const CommandResult&) = default;
};

}  // namespace vxutils
