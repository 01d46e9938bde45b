// Tracks what this process waits for, so that a process that has to exit can end it: the children
// of `runProcess`, and pauses.
#pragma once
#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <optional>

namespace platform {

/// Ends all pauses and kills the children that `runProcess` is waiting for, with their groups:
/// SIGTERM, then SIGKILL after `grace`. Returns whether there was a child. Safe in signal handlers,
/// whose errno it keeps, and on any thread. Reaps no child, so that `runProcess` learns its status.
bool endRunningProcesses(std::chrono::milliseconds grace) noexcept;

/// Blocks the calling thread for `duration`, or until `endRunningProcesses` is called, which it
/// notices within a twentieth of a second. A signal handler doesn't shorten the pause.
void pauseUnlessEnded(std::chrono::milliseconds duration);

/// For `runProcess`: registers a child for as long as it may be signalled. At most 128 children are
/// tracked at a time.
class RunningProcess {
 public:
  /// `pid` leads its own group and is not reaped before `forget`. `output` is the read end of the
  /// pipe that the group writes to. Construct with signals blocked since before the spawn, so that
  /// no handler misses the child.
  RunningProcess(pid_t pid, int output) noexcept;
  ~RunningProcess() { forget(); }
  RunningProcess(const RunningProcess&) = delete;
  RunningProcess& operator=(const RunningProcess&) = delete;
  /// To be called before `output` is closed.
  void forgetOutput() noexcept;
  /// Whether `endRunningProcesses` has signalled it while it was running.
  bool forget() noexcept;

 private:
  std::optional<std::size_t> slot_;
};

}  // namespace platform
