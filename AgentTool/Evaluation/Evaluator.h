// Predicts the results of a patch's actions without running them.
#pragma once
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentTool/Evaluation/EvaluationDependencies.h"
#include "AgentTool/Evaluation/Intentions.h"
#include "AgentTool/Evaluation/Prediction.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace agent_tool {

struct Evaluation {
  Prediction prediction = Prediction::success;
  /// For a result the action's result. Otherwise the result if nobody
  /// answered, commands succeeded and Apple's servers were unreachable.
  vexlo::PatchActionResult result = vexlo::PatchActionResult::success();
  /// What the checks measured, or what decided without a measurement. Valid until the next
  /// evaluation.
  std::span<const vexlo::Measurement> measurements;
};

/// What would happen next: «would ask: 2 postponements left», «would kill Safari, Mail», «would run
/// …, then …», «not asked: softwareupdate --list». Empty if the prediction is a result.
[[nodiscard]] std::string nextStep(const Evaluation& evaluation, const Intentions& intentions);

/// Evaluates the actions of one patch with the library's processor and `EvaluationDependencies`.
/// Reusable for any number of machines. Not thread-safe.
class Evaluator {
 public:
  Evaluator(vexlo::PatchIdentifier patch,
            std::shared_ptr<const vexlo::PatchActionGroup> actionFile);

  /// Evaluates for the machine with these facts, which must stay valid until the next call. Call it
  /// first.
  void use(const Facts& facts) { dependencies_->use(facts); }

  [[nodiscard]] Evaluation evaluate(const vexlo::ActionID& action);
  /// Those of the last evaluated action; valid until the next evaluation.
  [[nodiscard]] const Intentions& intentions() const noexcept { return intentions_; }

 private:
  class Processor final : public vexlo::ProcessPatchActions {
   public:
    Processor(vexlo::PatchIdentifier patch,
              std::shared_ptr<const vexlo::PatchActionGroup> actionFile,
              std::unique_ptr<vexlo::PatchProcessingDependencies> dependencies)
        : ProcessPatchActions(std::move(patch), std::move(actionFile), std::move(dependencies)) {}
  };

  /// Stores what an action measures before anything would happen.
  class Measurements final : public vexlo::ActionObserver {
   public:
    explicit Measurements(const Intentions& intentions) : intentions_(intentions) {}
    void measured(const vexlo::ActionID& action, const vexlo::Measurement& measurement) override;
    std::vector<vexlo::Measurement> kept;

   private:
    const Intentions& intentions_;
  };

  Intentions intentions_;
  std::unique_ptr<EvaluationDependencies> ownedDependencies_;  // until the processor has them
  EvaluationDependencies* dependencies_;
  Processor processor_;
  std::shared_ptr<Measurements> measurements_;
};

}  // namespace agent_tool
