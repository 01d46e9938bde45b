// Runs a child process to its end: input, output, deadline, exit status.
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
  /// Path; never looked up in PATH. A relative one is taken from the child's working directory.
  std::string executable;
  std::vector<std::string> arguments;     ///< Without the program name.
  std::optional<std::string> directory;   ///< Working directory; the caller's when absent.
  std::optional<std::string_view> input;  ///< Whole standard input; /dev/null when absent.
  std::optional<std::chrono::milliseconds> timeout;  ///< None: waits without limit.
  /// From SIGTERM at the deadline to SIGKILL.
  std::chrono::milliseconds grace{2000};
  /// Called on the calling thread with each line of output as it comes, without its line feed
  /// (an unfinished last line at the end, one longer than 64 KiB in pieces of about that size, no
  /// UTF-8 character cut apart). When it
  /// throws, the child's group is killed and the exception goes to the caller.
  std::function<void(std::string_view line)> onLine;
  /// Output beyond this is read and dropped (a note of it closes the output).
  std::size_t maximumOutputBytes = std::size_t{64} * 1024 * 1024;
};

struct ProcessResult {
  /// `exitCode` of a child whose status got lost: some other code of the process has waited for
  /// it. It happens once at most: a shell reports the statuses of later children.
  static constexpr std::int32_t kUnknownStatus = -1;

  /// The exit status; 128 + n when ended by signal n; 127 when the program could not be
  /// started, 126 when it is there but not executable.
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error as they came, undecoded.
  bool timedOut = false;
  std::error_code startError;  ///< Why the program could not be started; none when it was.
  std::string unusablePath;    ///< What `startError` is about: the program or its directory.
};

/// Runs the request in a session of its own, without a controlling terminal, and waits for the
/// child's end. Every inherited descriptor but the three standard ones is closed in the child; its
/// signal handlers and mask are the default ones. Its environment is made anew: PATH of the
/// system's folders, HOME, USER and LOGNAME of this process's user, TMPDIR, and of the inherited
/// one LANG and LC_* where they name locales. At the deadline the child and its group get SIGTERM,
/// the grace, SIGKILL.
/// What the pipe holds at the child's end is read; a grandchild that keeps it open is not waited
/// for. A child that SIGKILL doesn't end within the grace either is left to itself (status 137).
/// Changes no signal setting of the process, leaves no zombie and no descriptor, works from any
/// thread and whatever the process does with SIGCHLD and SIGPIPE: where it would not learn a
/// status (SIGCHLD is ignored), the program runs under a shell that reports it. Throws only what
/// `onLine` throws and `std::bad_alloc`.
[[nodiscard]] ProcessResult runProcess(const ProcessRequest& request);

}  // namespace platform
