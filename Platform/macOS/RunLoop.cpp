#include "Platform/RunLoop.h"

#include <CoreFoundation/CoreFoundation.h>

#include <exception>
#include <utility>

#include "Platform/macOS/Owned.h"

namespace platform {
namespace {

/// Where the innermost `runDefaultMode` on this thread takes its source's exception, which must not
/// pass through the system's frames; null if other code runs the loop.
thread_local std::exception_ptr* thrownBySource = nullptr;

class ThrownBySource {
 public:
  explicit ThrownBySource(std::exception_ptr& place)
      : outer_(std::exchange(thrownBySource, &place)) {}
  ThrownBySource(const ThrownBySource&) = delete;
  ThrownBySource& operator=(const ThrownBySource&) = delete;
  ~ThrownBySource() { thrownBySource = outer_; }

 private:
  std::exception_ptr* outer_;
};

/// A source of the thread's CFRunLoop, which the agent may run, too. The system's source shares
/// ownership of `perform`, so that a source may remove itself.
class SystemSource final : public RunLoop::Source {
 public:
  explicit SystemSource(std::function<void()> perform) : loop_(CFRunLoopGetCurrent()) {
    CFRetain(loop_.get());
    const auto shared = std::make_shared<Perform>(std::move(perform));
    CFRunLoopSourceContext context{};
    context.info = const_cast<std::shared_ptr<Perform>*>(&shared);
    context.retain = [](const void* info) -> const void* {
      return new std::shared_ptr<Perform>(*static_cast<const std::shared_ptr<Perform>*>(info));
    };
    context.release = [](const void* info) {
      delete static_cast<const std::shared_ptr<Perform>*>(info);
    };
    context.perform = [](void* info) noexcept {
      const std::shared_ptr<Perform> held = *static_cast<std::shared_ptr<Perform>*>(info);
      if (thrownBySource == nullptr) {
        (*held)();
        return;
      }
      try {
        (*held)();
      } catch (...) {
        *thrownBySource = std::current_exception();
      }
    };
    source_.reset(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
    CFRunLoopAddSource(loop_.get(), source_.get(), kCFRunLoopDefaultMode);
  }
  SystemSource(const SystemSource&) = delete;
  SystemSource& operator=(const SystemSource&) = delete;
  ~SystemSource() override { CFRunLoopSourceInvalidate(source_.get()); }

  void signal() override {
    CFRunLoopSourceSignal(source_.get());
    CFRunLoopWakeUp(loop_.get());
  }

 private:
  using Perform = std::function<void()>;
  Owned<CFRunLoopRef> loop_;
  Owned<CFRunLoopSourceRef> source_;
};

class SystemRunLoop final : public RunLoop {
 public:
  std::shared_ptr<Source> addSource(std::function<void()> perform) override {
    return std::make_shared<SystemSource>(std::move(perform));
  }

  bool runDefaultMode(std::chrono::milliseconds duration) override {
    const std::chrono::duration<double> seconds = duration;
    std::exception_ptr thrown;
    const ThrownBySource collector(thrown);
    const auto result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds.count(),
                                           /*returnAfterSourceHandled=*/1);
    if (thrown) {
      std::rethrow_exception(thrown);
    }
    return result != kCFRunLoopRunFinished;
  }
};

}  // namespace

RunLoop& RunLoop::current() {
  static SystemRunLoop loop;  // looks up the calling thread's loop every time
  return loop;
}

}  // namespace platform
