// A run loop per thread, which waits for input sources.
#pragma once
#include <chrono>
#include <functional>
#include <memory>

#include "Platform/Export.h"

namespace platform {

/// The calling thread's run loop in its default mode. On macOS this is the thread's CFRunLoop, so
/// sources that the agent has added to that count, too. Everything except a source's `signal` must
/// be called on the loop's thread.
///
/// The library waits for the prompt about running applications in the run loop of the thread that
/// calls `ProcessPatchActions::execute`, and a loop without an input source does not wait. On macOS
/// the main dispatch queue is a source of the main thread's loop, except in the blocks that it
/// runs. A thread without a source must add one while it runs actions:
///
///     const auto source = platform::RunLoop::current().addSource([] {});
///
/// Let such a source stay idle. The wait is counted in runs of at most a second, and a run ends
/// when a source fires (or the main dispatch queue has run a block), so one that fires often ends
/// the wait early, and the prompt counts as unanswered.
class VEXLO_EXPORT RunLoop {
 public:
  /// An input source. `signal()` may be called on any thread; the loop then calls `perform` on its
  /// own.
  class VEXLO_EXPORT Source {
   public:
    virtual ~Source() = default;
    virtual void signal() = 0;
  };

  static RunLoop& current();
  virtual ~RunLoop() = default;
  /// Adds a source, which stays until the returned object is destroyed. What `perform` throws
  /// leaves `runDefaultMode`; the library's wait for the prompt logs it and goes on. A process
  /// whose own code runs the loop on macOS ends (`std::terminate`), because the system's frames are
  /// in between.
  [[nodiscard]] virtual std::shared_ptr<Source> addSource(std::function<void()> perform) = 0;
  /// Runs until `duration` has passed or a source has fired. Returns false immediately if there is
  /// no source.
  virtual bool runDefaultMode(std::chrono::milliseconds duration) = 0;
};

}  // namespace platform
