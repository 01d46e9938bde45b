// Knows the children that `runProcess` waits for, so that a process which must end at once leaves
// none behind.
#pragma once
#include <sys/types.h>

#include <atomic>
#include <chrono>

namespace platform {

/// Ends the children that `runProcess` is waiting for, each with its whole group: SIGTERM, then
/// SIGKILL for what has not ended after `grace`. True when there was one. Safe in a signal
/// handler and on any thread. The children may be reaped here: a `runProcess` that goes on reports
/// status 143 for them.
bool endRunningProcesses(std::chrono::milliseconds grace) noexcept;

/// For `runProcess`: makes a child known for as long as it may be signalled. Of more than 128
/// children at a time, those beyond are not known.
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
