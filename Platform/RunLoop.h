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
/// calls `ProcessPatchActions::execute`, and a loop without an input source does not wait. A thread
/// without one must add one while it runs actions:
///
///     const auto source = platform::RunLoop::current().addSource([] {});
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
  /// Adds a source, which stays until the returned object is destroyed.
  [[nodiscard]] virtual std::shared_ptr<Source> addSource(std::function<void()> perform) = 0;
  /// Runs until `duration` has passed or a source has fired. Returns false immediately if there is
  /// no source.
  virtual bool runDefaultMode(std::chrono::milliseconds duration) = 0;
};

}  // namespace platform
