#include "VexloPatchDeployment/Common/RunningAction.h"

#include <utility>

namespace vexlo {
namespace {

thread_local const RunningAction* runningAction = nullptr;

}  // namespace

RunningAction::RunningAction(const ActionID& action,
                             std::shared_ptr<ActionObserver> observer) noexcept
    : action_(action), observer_(std::move(observer)), outer_(runningAction) {
  runningAction = this;
}

RunningAction::~RunningAction() { runningAction = outer_; }

const RunningAction* RunningAction::current() noexcept { return runningAction; }

bool RunningAction::isObserved() noexcept {
  return runningAction != nullptr && runningAction->observer_ != nullptr;
}

}  // namespace vexlo
