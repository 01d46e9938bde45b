#include "Platform/RunningProcesses.h"

#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
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

/// A tracked group. Atomics in a fixed array, since a signal handler may neither lock nor allocate.
struct Group {
  std::atomic<pid_t> leader = kFree;  ///< Negative once it was signalled.
  std::atomic<int> output = -1;
};
using Groups = std::array<Group, 128>;
static_assert(std::atomic<pid_t>::is_always_lock_free);
constinit Groups runningGroups{};

// How often `endRunningProcesses` was called. A pause checks it from time to time: a signal handler
// may not notify a condition variable.
constinit std::atomic<std::uint32_t> timesEnded{0};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

void pause(Milliseconds duration) {
  const timespec time{.tv_sec = 0, .tv_nsec = duration.count() * 1'000'000};
  ::nanosleep(&time, nullptr);
}

/// Whether the child is still running. Only looks, since its status belongs to `runProcess`.
bool isLeaderRunning(const Group& group) {
  siginfo_t information{};
  const auto leader = static_cast<id_t>(std::abs(group.leader.load()));
  return leader != kFree &&
         ::waitid(P_PID, leader, &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         information.si_pid == 0;
}

/// Whether the child, or a member of its group that has its output open, is still running. A child
/// that wasn't reaped keeps its group, so signal 0 would say nothing about the members.
bool isGroupRunning(const Group& group) {
  pollfd output{.fd = group.output.load(), .events = POLLIN, .revents = 0};
  const bool isOpen = output.fd >= 0 && ::poll(&output, 1, 0) >= 0 &&
                      (output.revents & (POLLHUP | POLLERR | POLLNVAL)) == 0;
  return isOpen || isLeaderRunning(group);
}

void signalAll(int signal) {
  for (Group& group : runningGroups) {
    pid_t leader = group.leader.load();
    const bool isNew = leader > kFree && isLeaderRunning(group);
    if (leader == kFree || (isNew && !group.leader.compare_exchange_strong(leader, -leader))) {
      continue;  // it has just ended
    }
    ::kill(-std::abs(leader), signal);
  }
}

/// Waits until `holds` is false for every group, at most for `limit`. Returns false on timeout.
bool waitWhileAny(bool (*holds)(const Group& group), Milliseconds limit) {
  for (Milliseconds waited{0}; std::ranges::any_of(runningGroups, holds); waited += kPollInterval) {
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
  const int interruptedCode = errno;
  const bool wasAny = !waitWhileAny(isGroupRunning, Milliseconds::zero());
  if (wasAny) {
    signalAll(SIGTERM);
    signalAll(SIGCONT);  // a stopped process couldn't handle SIGTERM
    (void)waitWhileAny(isGroupRunning, grace);
    signalAll(SIGKILL);  // also members that have closed their output
    (void)waitWhileAny(isLeaderRunning, kUntilKilled);
  }
  errno = interruptedCode;
  return wasAny;
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

RunningProcess::RunningProcess(pid_t pid, int output) noexcept {
  for (std::size_t slot = 0; slot < runningGroups.size(); ++slot) {
    pid_t expected = kFree;
    if (runningGroups[slot].leader.compare_exchange_strong(expected, pid)) {
      runningGroups[slot].output = output;
      slot_ = slot;
      return;
    }
  }
}

void RunningProcess::forgetOutput() noexcept {
  if (slot_) {
    runningGroups[*slot_].output = -1;
  }
}

bool RunningProcess::forget() noexcept {
  forgetOutput();
  const std::optional<std::size_t> slot = std::exchange(slot_, std::nullopt);
  return slot && runningGroups[*slot].leader.exchange(kFree) < 0;
}

}  // namespace platform
