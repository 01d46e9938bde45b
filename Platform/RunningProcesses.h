// Tracks what this process waits for, so that a process that has to exit can end it: the children
// of `runProcess`, and pauses.
#pragma once
#include <sys/types.h>

#include <atomic>
#include <chrono>

namespace platform {

/// Ends all pauses and kills the children that `runProcess` is waiting for, with their groups:
/// SIGTERM, then SIGKILL after `grace`. Returns whether there was a child. Safe in signal handlers
/// and on any thread. The children may be reaped here; `runProcess` then reports status 143 for
/// them.
bool endRunningProcesses(std::chrono::milliseconds grace) noexcept;

/// Blocks the calling thread for `duration`, or until `endRunningProcesses` is called, which it
/// notices within a twentieth of a second. A signal handler doesn't shorten the pause.
void pauseUnlessEnded(std::chrono::milliseconds duration);

/// For `runProcess`: registers a child for as long as it may be signalled. At most 128 children are
/// tracked at a time.
class RunningProcess {
 public:
  /// `pid` leads its own group and is not reaped before `forget`. Construct with signals blocked
  /// since before the spawn, so that no handler misses the child.
  explicit RunningProcess(pid_t pid) noexcept;
  ~RunningProcess() { forget(); }
  RunningProcess(const RunningProcess&) = delete;
  RunningProcess& operator=(const RunningProcess&) = delete;
  /// Whether `endRunningProcesses` has signalled it.
  bool forget() noexcept;

 private:
  std::atomic<pid_t>* slot_ = nullptr;
};

}  // namespace platform
