// A run loop per thread: waits for the input sources that its owner added.
#pragma once
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

/// The calling thread's run loop in its default mode. On macOS that is the thread's CFRunLoop, so
/// sources that the agent has added to it by itself count, too. Every operation but `signal` of a
/// source is for the loop's own thread.
///
/// The library waits for the prompt about running applications with the run loop of the thread that
/// calls `ProcessPatchActions::execute`, and a loop without an input source does not wait. A thread
/// that has none needs one for as long as it runs actions:
///
///     const auto source = platform::RunLoop::current().addSource([] {});
class RunLoop {
 public:
  /// Something that a run loop waits for. `signal()` may be called from any thread; the loop
  /// then calls `perform` on its own thread.
  class Source {
   public:
    virtual ~Source() = default;
    virtual void signal() = 0;
  };

  static RunLoop& current();
  virtual ~RunLoop() = default;
  /// Adds a source; it stays for as long as the returned object lives.
  [[nodiscard]] virtual std::shared_ptr<Source> addSource(std::function<void()> perform) = 0;
  /// Runs until `duration` has passed or one source has fired. False, at once, when the loop has
  /// no source.
  virtual bool runDefaultMode(std::chrono::milliseconds duration) = 0;
};

}  // namespace platform
