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
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace agent_tool {

/// The predicted result of an action.
enum class Answer : std::uint8_t {
  success,     ///< It passes.
  applyLater,  ///< It can't pass now.
  failure,     ///< It fails.
  wouldAsk,    ///< The user would be asked; no answer counts as no.
  wouldForce,  ///< The user would be asked; no answer counts as yes.
  wouldKill,   ///< Applications would be killed; then it passes.
  wouldRun,    ///< Commands would run; their results decide.
  notAsked,    ///< Depends on something that was not asked or recorded.
};

/// «wouldAsk»
[[nodiscard]] std::string_view name(Answer answer);

/// Whether the answer is a result of the action.
[[nodiscard]] bool isResult(Answer answer) noexcept;

struct Evaluation {
  Answer answer = Answer::success;
  /// For `success`, `applyLater` and `failure` the action's result. Otherwise the result if nobody
  /// answered, commands succeeded and Apple's servers were unreachable.
  vexlo::PatchActionResult result = vexlo::PatchActionResult::success();
  /// What the checks measured, or what decided without a measurement; empty unless measurements are
  /// enabled. Valid until the next evaluation.
  std::span<const vexlo::Measurement> measurements;
};

/// What would happen next: «would ask: 2 postponements left», «would kill Safari, Mail», «would run
/// …, then …», «not asked: softwareupdate --list». Empty if the answer is a result.
[[nodiscard]] std::string nextStep(const Evaluation& evaluation, const Intentions& intentions);

/// Evaluates the actions of one patch with the library's processor and `EvaluationDependencies`.
/// Reusable for any number of machines, since its sources may answer for a different one each time.
/// Not thread-safe.
class Evaluator {
 public:
  /// `intentions` must outlive the evaluator; `measures` enables measurements.
  Evaluator(vexlo::PatchIdentifier patch, std::shared_ptr<const vexlo::PatchActionGroup> actionFile,
            EvaluationSources sources, Intentions& intentions, bool measures = true);

  /// Evaluates `action`. Its intentions are valid until the next evaluation.
  [[nodiscard]] Evaluation evaluate(const vexlo::ActionID& action);

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

  Intentions& intentions_;
  Processor processor_;
  std::shared_ptr<Measurements> measurements_;
};

}  // namespace agent_tool
