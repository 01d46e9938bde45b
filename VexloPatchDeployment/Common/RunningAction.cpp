#include "VexloPatchDeployment/Common/RunningAction.h"

#include <utility>

namespace vexlo {
namespace {

thread_local const RunningAction* observedAction = nullptr;

}  // namespace

RunningAction::RunningAction(const ActionID& action,
                             std::shared_ptr<ActionObserver> observer) noexcept
    : action_(action), observer_(std::move(observer)), outer_(observedAction) {
  observedAction = observer_ != nullptr ? this : nullptr;
}

RunningAction::~RunningAction() { observedAction = outer_; }

const RunningAction* RunningAction::current() noexcept { return observedAction; }

}  // namespace vexlo
