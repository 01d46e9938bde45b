// Runs a child process to its end: input, output, deadline, exit status.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct ProcessRequest {
  std::string executable;                   ///< Path; never looked up in PATH.
  std::vector<std::string> arguments;       ///< Without the program name.
  std::optional<std::string> directory;     ///< Working directory; the caller's when absent.
  std::optional<std::string_view> input;    ///< Whole standard input; /dev/null when absent.
  std::optional<std::chrono::milliseconds> timeout;  ///< None: waits without limit.
  /// Called on the calling thread with each line of output as it comes, without its line feed
  /// (an unfinished last line at the end, a very long one in pieces).
  std::function<void(std::string_view line)> onLine;
  /// Output beyond this is read and dropped (a note of it closes the output).
  std::size_t maximumOutputBytes = std::size_t{64} * 1024 * 1024;
};

struct ProcessResult {
  /// The exit status; 128 + n when ended by signal n; 127 when the program could not be
  /// started, 126 when it is there but not executable.
  std::int32_t exitCode = 0;
  std::string output;      ///< Standard output and error as they came, undecoded.
  bool timedOut = false;
};

/// Runs the request in a process group of its own and waits for the child's end. Every inherited
/// descriptor but the three standard ones is closed in the child; its signal handlers and mask
/// are the default ones. At the deadline the group gets SIGTERM, a short grace, SIGKILL. What the
/// pipe holds at the child's end is read; a grandchild that keeps it open is not waited for.
/// Changes no signal setting of the process, leaves no zombie and no descriptor, works from any
/// thread and whatever the process does with SIGCHLD and SIGPIPE.
[[nodiscard]] ProcessResult runProcess(const ProcessRequest& request);

}  // namespace platform
