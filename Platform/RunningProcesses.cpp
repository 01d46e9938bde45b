#include "Platform/RunningProcesses.h"

#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <utility>

namespace platform {
namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr pid_t kFree = 0;
constexpr Milliseconds kBetweenLooks{10};

// A fixed array of atomics, since a signal handler may neither lock nor allocate.
using Groups = std::array<std::atomic<pid_t>, 128>;
static_assert(std::atomic<pid_t>::is_always_lock_free);
constinit Groups running{};

void pause(Milliseconds duration) {
  const timespec time{.tv_sec = 0, .tv_nsec = duration.count() * 1'000'000};
  ::nanosleep(&time, nullptr);
}

/// Whether something of the group is left; its leader is reaped when it has ended.
bool isAlive(pid_t group) {
  ::waitpid(group, nullptr, WNOHANG);
  return ::kill(-group, 0) == 0 || errno == EPERM;
}

/// Signals all groups that are left. False when none is.
bool signalAll(const Groups& groups, int signal) {
  bool any = false;
  for (const std::atomic<pid_t>& slot : groups) {
    const pid_t group = slot.load();
    if (group != kFree && isAlive(group)) {
      any = true;
      ::kill(-group, signal);
    }
  }
  return any;
}

}  // namespace

bool endRunningProcesses(Milliseconds grace) noexcept {
  if (!signalAll(running, SIGTERM)) {
    return false;
  }
  signalAll(running, SIGCONT);  // a stopped process can't act on the other otherwise
  constexpr int kOnlyLook = 0;
  for (Milliseconds waited{0}; waited < grace; waited += kBetweenLooks) {
    if (!signalAll(running, kOnlyLook)) {
      return true;
    }
    pause(kBetweenLooks);
  }
  signalAll(running, SIGKILL);
  return true;
}

RunningProcess::RunningProcess(pid_t pid) noexcept {
  for (std::atomic<pid_t>& slot : running) {
    pid_t expected = kFree;
    if (slot.compare_exchange_strong(expected, pid)) {
      slot_ = &slot;
      return;
    }
  }
}

void RunningProcess::forget() noexcept {
  if (std::atomic<pid_t>* const slot = std::exchange(slot_, nullptr)) {
    slot->store(kFree);
  }
}

}  // namespace platform
