// A fake processor for agents' tests, which needs neither files nor a Mac.
#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchActionProcessing.h"

namespace vexlo {

/// A processor for a patch with the actions of `plan`, in that order. As with the production class,
/// any other action passes. Code under test takes a `PatchActionProcessing&`:
///
///     vexlo::FakePatchActionProcessor processor;
///     processor.plan = {{vexlo::KnownAction::minimumDiskSpaceCheck, {"20"}}};
///     processor.answer = [](const vexlo::ActionID&) {
///       return vexlo::PatchActionResult::applyLater(
///           vexlo::PlainReason::inSufficientDiskSpaceForSoftwareUpdate);
///     };
///     processor.report = [](const vexlo::ActionID& action, vexlo::ActionObserver& observer) {
///       observer.measured(action, vexlo::DiskSpaceMeasurement{.freeBytes = 8'000, .neededBytes =
///       9'000});
///     };
///     deploy(processor);
class FakePatchActionProcessor : public PatchActionProcessing {
 public:
  std::vector<std::pair<ActionID, std::vector<std::string>>> plan;
  /// Called for each action of the plan; if empty, the action passes.
  std::function<PatchActionResult(const ActionID& action)> answer;
  /// Called before `answer`, if there is an observer, to report what a test wants it to see:
  /// measurements and progress.
  std::function<void(const ActionID& action, ActionObserver& observer)> report;
  /// Every action that was executed, in order, including those not in the plan.
  std::vector<ActionID> executed;

  PatchActionResult execute(const ActionID& action) override {
    executed.push_back(action);
    if (!arguments(action)) {
      return PatchActionResult::success();
    }
    if (report && observer_) {
      report(action, *observer_);
    }
    return answer ? answer(action) : PatchActionResult::success();
  }
  std::optional<std::vector<std::string>> arguments(const ActionID& action) override {
    for (const auto& [each, itsArguments] : plan) {
      if (each == action) {
        return itsArguments;
      }
    }
    return std::nullopt;
  }
  void setObserver(std::shared_ptr<ActionObserver> observer) override {
    observer_ = std::move(observer);
  }

 protected:
  PatchActionResult execute() override {
    for (const auto& [action, itsArguments] : plan) {
      if (PatchActionResult result = execute(action);
          result.outcome != PatchActionResult::Outcome::success) {
        return result;
      }
    }
    return PatchActionResult::success();
  }

 private:
  std::shared_ptr<ActionObserver> observer_;
};

}  // namespace vexlo
