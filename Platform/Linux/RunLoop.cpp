#include "Platform/RunLoop.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace platform {
namespace {

class SignalledSource;

/// The signalled sources of one loop that have not been served yet, oldest first. Shared by the
/// loop and its sources, so that signalling a source after the loop's thread has ended is safe.
struct Mailbox {
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<std::weak_ptr<SignalledSource>> signalled;
};

class SignalledSource final : public RunLoop::Source,
                              public std::enable_shared_from_this<SignalledSource> {
 public:
  SignalledSource(std::shared_ptr<Mailbox> mailbox, std::function<void()> perform)
      : mailbox_(std::move(mailbox)), perform_(std::move(perform)) {}

  void signal() override {
    {
      const std::scoped_lock lock(mailbox_->mutex);
      if (waiting_) {
        return;
      }
      mailbox_->signalled.push_back(weak_from_this());
      waiting_ = true;
    }
    mailbox_->arrived.notify_one();
  }

  /// Called by the loop with the mailbox locked: the next signal enqueues the source again.
  void taken() { waiting_ = false; }
  void perform() const { perform_(); }

 private:
  std::shared_ptr<Mailbox> mailbox_;
  std::function<void()> perform_;
  bool waiting_ = false;  // guarded by the mailbox's mutex
};

class ThreadRunLoop final : public RunLoop {
 public:
  std::shared_ptr<Source> addSource(std::function<void()> perform) override {
    auto source = std::make_shared<SignalledSource>(mailbox_, std::move(perform));
    std::erase_if(sources_, [](const auto& known) { return known.expired(); });
    sources_.push_back(source);
    return source;
  }

  bool runDefaultMode(std::chrono::milliseconds duration) override {
    if (std::ranges::all_of(sources_, [](const auto& known) { return known.expired(); })) {
      return false;
    }
    if (const std::shared_ptr<SignalledSource> source = nextSignalled(duration)) {
      source->perform();  // unlocked: it may signal, add and run sources
    }
    return true;
  }

 private:
  /// Waits for at most `duration` for the source that was signalled first; null when none was.
  /// Sources removed since they were signalled are skipped.
  std::shared_ptr<SignalledSource> nextSignalled(std::chrono::milliseconds duration) {
    constexpr std::chrono::milliseconds kLongest =
        std::chrono::years(1);  // so that adding it to now can't overflow
    const auto deadline = std::chrono::steady_clock::now() + std::min(duration, kLongest);
    std::shared_ptr<SignalledSource>
        next;  // outlives the lock, since its destructor may run any code
    std::unique_lock lock(mailbox_->mutex);
    const auto hasSignal = [&] { return !mailbox_->signalled.empty(); };
    while (!next && mailbox_->arrived.wait_until(lock, deadline, hasSignal)) {
      next = mailbox_->signalled.front().lock();
      mailbox_->signalled.pop_front();
    }
    if (next) {
      next->taken();
    }
    return next;
  }

  std::shared_ptr<Mailbox> mailbox_ = std::make_shared<Mailbox>();
  std::vector<std::weak_ptr<SignalledSource>> sources_;
};

}  // namespace

RunLoop& RunLoop::current() {
  thread_local ThreadRunLoop loop;
  return loop;
}

}  // namespace platform
