// Takes measurements and progress from where they are made to the observer of the action.
#pragma once
#include <concepts>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace vexlo {

/// The action that the calling thread runs, for as long as the object lives. Scopes nest, since an
/// observer may run another processor. The code below the processor needs no handle: like log
/// lines, measurements go to whoever listens.
class RunningAction {
 public:
  /// `observer` may be null; then nobody is told. `action` and `observer` outlive the object.
  RunningAction(const ActionID& action, ActionObserver* observer) noexcept;
  ~RunningAction();
  RunningAction(const RunningAction&) = delete;
  RunningAction& operator=(const RunningAction&) = delete;

  /// Whether somebody observes the action that this thread runs.
  [[nodiscard]] static bool isObserved() noexcept;
  /// Calls `tell` with the action and its observer, if there is one. What it throws is dropped.
  template <std::invocable<const ActionID&, ActionObserver&> Tell>
  static void tellObserver(const Tell& tell) noexcept {
    if (const RunningAction* const running = current(); running != nullptr && running->observer_) {
      try {
        tell(running->action_, *running->observer_);
      } catch (...) {  // NOLINT(bugprone-empty-catch)
        // Who watches has no influence on what becomes of a patch.
      }
    }
  }

 private:
  [[nodiscard]] static const RunningAction* current() noexcept;

  const ActionID& action_;
  ActionObserver* observer_;
  const RunningAction* outer_;
};

/// Tells the observer what the running action has measured. `make` returns the measurement and is
/// called only when somebody observes.
template <std::invocable Make>
void measured(const Make& make) noexcept {
  RunningAction::tellObserver([&](const ActionID& action, ActionObserver& observer) {
    observer.measured(action, Measurement(make()));
  });
}

}  // namespace vexlo
