// Tracks the children that `runProcess` waits for, so that a process that has to exit can kill
// them.
#pragma once
#include <sys/types.h>

#include <atomic>
#include <chrono>

namespace platform {

/// Kills the children that `runProcess` is waiting for, with their groups: SIGTERM, then SIGKILL
/// after `grace`. Returns whether there was one. Safe in signal handlers and on any thread. The
/// children may be reaped here; `runProcess` then reports status 143 for them.
bool endRunningProcesses(std::chrono::milliseconds grace) noexcept;

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
