#include "Platform/RunningProcesses.h"

#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <utility>

namespace platform {
namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr pid_t kFree = 0;
constexpr Milliseconds kPollInterval{10};
constexpr Milliseconds kPauseSlice{50};
constexpr Milliseconds kUntilKilled{500};  // a process that hangs in the kernel is left

// A fixed array of atomics, since a signal handler may neither lock nor allocate. A group that was
// signalled is stored as a negative number.
using Groups = std::array<std::atomic<pid_t>, 128>;
static_assert(std::atomic<pid_t>::is_always_lock_free);
constinit Groups runningGroups{};

// How often `endRunningProcesses` was called. A pause compares it now and then: a signal handler
// may not notify a condition variable.
constinit std::atomic<std::uint32_t> timesEnded{0};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

void pause(Milliseconds duration) {
  const timespec time{.tv_sec = 0, .tv_nsec = duration.count() * 1'000'000};
  ::nanosleep(&time, nullptr);
}

/// Whether the leader is still running; reaps it otherwise.
bool leaderRuns(pid_t group) { return ::waitpid(group, nullptr, WNOHANG) == 0; }

/// Whether the group still has members.
bool isThere(pid_t group) { return leaderRuns(group) || ::kill(-group, 0) == 0 || errno == EPERM; }

void signalAll(int signal) {
  for (std::atomic<pid_t>& slot : runningGroups) {
    pid_t group = slot.load();
    if (group == kFree || (group > 0 && !slot.compare_exchange_strong(group, -group))) {
      continue;  // it has just ended
    }
    ::kill(-std::abs(group), signal);
  }
}

/// Waits until `holds` is false for every group, at most for `limit`. Returns false on timeout.
bool waitWhileAny(bool (*holds)(pid_t group), Milliseconds limit) {
  const auto any = [&] {
    return std::ranges::any_of(runningGroups, [&](const std::atomic<pid_t>& slot) {
      const pid_t group = slot.load();
      return group != kFree && holds(std::abs(group));
    });
  };
  for (Milliseconds waited{0}; any(); waited += kPollInterval) {
    if (waited >= limit) {
      return false;
    }
    pause(kPollInterval);
  }
  return true;
}

}  // namespace

bool endRunningProcesses(Milliseconds grace) noexcept {
  timesEnded.fetch_add(1);
  if (waitWhileAny(isThere, Milliseconds::zero())) {
    return false;
  }
  signalAll(SIGTERM);
  signalAll(SIGCONT);  // a stopped process couldn't handle SIGTERM
  if (!waitWhileAny(isThere, grace)) {
    signalAll(SIGKILL);
    (void)waitWhileAny(leaderRuns, kUntilKilled);
  }
  return true;
}

void pauseUnlessEnded(Milliseconds duration) {
  constexpr Milliseconds kLongest = std::chrono::years(1);  // so that the sum below can't overflow
  const std::uint32_t before = timesEnded.load();
  const auto end = std::chrono::steady_clock::now() + std::min(duration, kLongest);
  for (auto now = std::chrono::steady_clock::now(); now < end && timesEnded.load() == before;
       now = std::chrono::steady_clock::now()) {
    std::this_thread::sleep_until(std::min(end, now + kPauseSlice));
  }
}

RunningProcess::RunningProcess(pid_t pid) noexcept {
  for (std::atomic<pid_t>& slot : runningGroups) {
    pid_t expected = kFree;
    if (slot.compare_exchange_strong(expected, pid)) {
      slot_ = &slot;
      return;
    }
  }
}

bool RunningProcess::forget() noexcept {
  std::atomic<pid_t>* const slot = std::exchange(slot_, nullptr);
  return slot != nullptr && slot->exchange(kFree) < 0;
}

}  // namespace platform
