#include "Platform/RunLoop.h"

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

#include "Platform/macOS/Owned.h"

namespace platform {
namespace {

/// A source of the thread's CFRunLoop, which the agent may run, too. The system's source shares
/// ownership of `perform`, so that a source may remove itself.
class SystemSource final : public RunLoop::Source {
 public:
  explicit SystemSource(std::function<void()> perform) : loop_(retained(CFRunLoopGetCurrent())) {
    const auto shared = std::make_shared<Perform>(std::move(perform));
    CFRunLoopSourceContext context{};
    context.info = const_cast<std::shared_ptr<Perform>*>(&shared);
    context.retain = [](const void* info) -> const void* {
      return new std::shared_ptr<Perform>(*static_cast<const std::shared_ptr<Perform>*>(info));
    };
    context.release = [](const void* info) {
      delete static_cast<const std::shared_ptr<Perform>*>(info);
    };
    // Exceptions must not pass through the system's frames.
    context.perform = [](void* info) noexcept {
      const std::shared_ptr<Perform> held = *static_cast<std::shared_ptr<Perform>*>(info);
      (*held)();
    };
    source_ = Owned(CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context));
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
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds.count(),
                              /*returnAfterSourceHandled=*/1) != kCFRunLoopRunFinished;
  }
};

}  // namespace

RunLoop& RunLoop::current() {
  static SystemRunLoop loop;  // looks up the calling thread's loop every time
  return loop;
}

}  // namespace platform
