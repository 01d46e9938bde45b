// Runs a child process until it exits: input, output, deadline, exit status.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace platform {

struct ProcessRequest {
  /// A path, never looked up in PATH; relative to the child's working directory.
  std::string executable;
  std::vector<std::string> arguments;     ///< Excluding the program name.
  std::optional<std::string> directory;   ///< Working directory; the caller's when absent.
  std::optional<std::string_view> input;  ///< The whole standard input; /dev/null when absent.
  std::optional<std::chrono::milliseconds> timeout;  ///< No limit when absent.
  /// From SIGTERM at the deadline to SIGKILL.
  std::chrono::milliseconds grace{2000};
  /// Called on the calling thread for each line of output as it arrives, without its line feed.
  /// Includes an unfinished last line; a line longer than 64 KiB comes in pieces of about that size
  /// that don't split UTF-8 characters. If it throws, the child's group is killed and the exception
  /// is passed on.
  std::function<void(std::string_view line)> onLine;
  /// Called on the calling thread for each piece of output as it is read; otherwise like `onLine`.
  std::function<void(std::string_view piece)> onOutput;
  /// Output beyond this is dropped; a note at the end says so.
  std::size_t maximumOutputBytes = std::size_t{64} * 1024 * 1024;
};

struct ProcessResult {
  /// `exitCode` of a child whose status was lost because other code in the process waited for it.
  /// Happens once at most: later children run under a shell that reports their status.
  static constexpr std::int32_t kUnknownStatus = -1;

  /// The exit status; 128 + n if killed by signal n; 127 if the program could not be started, 126
  /// if it exists but is not executable.
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error, interleaved, undecoded.
  bool timedOut = false;
  std::error_code startError;  ///< Why the program could not be started; 0 if it was.
  std::string unusablePath;    ///< Of `startError`: the program, its directory, /dev/null.
};

/// Runs the request in a new session without a controlling terminal and waits for the child to
/// exit. The child inherits only the three standard descriptors and has default signal handlers and
/// mask. Its environment is built from scratch: PATH with the system's directories, HOME, USER and
/// LOGNAME of this process's user, TMPDIR, and LANG and LC_* if they name locales. At the deadline
/// the child and its group get SIGTERM and, after the grace period, SIGKILL. Output that is in the
/// pipe when the child exits is read; a grandchild that keeps the pipe open is not waited for. A
/// child that survives SIGKILL for another grace period is abandoned (status 137). Doesn't change
/// the process's signal settings, leaves no zombie or descriptor behind, and works on any thread
/// and whatever the process does with SIGCHLD and SIGPIPE: if the system would not report a status
/// because SIGCHLD is ignored, the program runs under a shell that does. Throws only what `onLine`
/// and `onOutput` throw and `std::bad_alloc`.
[[nodiscard]] ProcessResult runProcess(const ProcessRequest& request);

}  // namespace platform
