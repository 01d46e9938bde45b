// Passes measurements and progress to the action's observer.
#pragma once
#include <concepts>
#include <memory>
#include <utility>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace vexlo {

/// Marks the action that the calling thread runs, for its lifetime. May be nested, since an
/// observer may run another processor. Like log lines, measurements need no handle: they go to the
/// current observer.
class RunningAction {
 public:
  /// `observer` may be null; it is kept alive, since it may be replaced in one of its own calls.
  /// `action` must outlive the object.
  RunningAction(const ActionID& action, std::shared_ptr<ActionObserver> observer) noexcept
      : action_(action), observer_(std::move(observer)), outer_(observed_) {
    observed_ = observer_ != nullptr ? this : nullptr;
  }
  ~RunningAction() { observed_ = outer_; }
  RunningAction(const RunningAction&) = delete;
  RunningAction& operator=(const RunningAction&) = delete;

  /// Whether this thread's action has an observer.
  [[nodiscard]] static bool isObserved() noexcept { return observed_ != nullptr; }
  /// Calls `tell` with the action and its observer, if any. Exceptions are dropped.
  template <std::invocable<const ActionID&, ActionObserver&> Tell>
  static void tellObserver(const Tell& tell) noexcept {
    if (observed_ != nullptr) {
      try {
        tell(observed_->action_, *observed_->observer_);
      } catch (...) {  // NOLINT(bugprone-empty-catch)
        // Observers must not affect a patch.
      }
    }
  }

 private:
  /// This thread's action; null if it has no observer.
  static inline constinit thread_local const RunningAction* observed_ = nullptr;

  const ActionID& action_;
  std::shared_ptr<ActionObserver> observer_;
  const RunningAction* outer_;
};

/// Reports a measurement of the running action. `make` returns it and is called only if there is an
/// observer.
template <std::invocable Make>
void measured(const Make& make) noexcept {
  RunningAction::tellObserver([&](const ActionID& action, ActionObserver& observer) {
    observer.measured(action, Measurement(make()));
  });
}

/// Reports progress of the running action to its observer, if any.
inline void progressed(const ActionProgress& progress) noexcept {
  RunningAction::tellObserver([&](const ActionID& action, ActionObserver& observer) {
    observer.progressed(action, progress);
  });
}

}  // namespace vexlo
