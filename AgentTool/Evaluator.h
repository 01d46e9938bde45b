// Answers what the actions of a patch would come to, without doing anything.
#pragma once
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentTool/EvaluationDependencies.h"
#include "AgentTool/Intentions.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace agent_tool {

/// What an action would come to.
enum class Answer : std::uint8_t {
  success,     ///< It passes.
  applyLater,  ///< It can't pass now.
  failure,     ///< It fails.
  wouldAsk,    ///< The user would be asked; no answer counts as no.
  wouldForce,  ///< The user would be asked; no answer counts as yes.
  wouldKill,   ///< Applications would be killed, then it passes.
  wouldRun,    ///< Commands would run; they decide.
  notAsked,    ///< Depends on something that was not asked, or is not recorded.
};

/// «wouldAsk»
[[nodiscard]] std::string_view name(Answer answer);

/// Whether the answer is the action's own result.
[[nodiscard]] bool isResult(Answer answer) noexcept;

struct Evaluation {
  Answer answer = Answer::success;
  /// For `success`, `applyLater` and `failure` the action's result. For the others what would come
  /// of it if nobody answered, commands succeeded, and Apple's servers couldn't be reached.
  vexlo::PatchActionResult result = vexlo::PatchActionResult::success();
  /// What the checks measured, or what decided without a measurement; empty unless the evaluator
  /// measures. Lives until the next evaluation.
  std::span<const vexlo::Measurement> measurements;
};

/// What would come next, in words: «would ask: 2 postponements left», «would kill Safari, Mail»,
/// «would run …, then …», «not asked: softwareupdate --list». Empty for an answer that is a result.
[[nodiscard]] std::string nextStep(const Evaluation& evaluation, const Intentions& intentions);

/// Evaluates the actions of one patch: the library's processor over an `EvaluationDependencies`.
/// Made once for any number of machines, since its sources may answer for another one each time.
/// For one thread at a time.
class Evaluator {
 public:
  /// The intentions outlive the evaluator; `measures` says whether measurements are kept.
  Evaluator(vexlo::PatchIdentifier patch, std::shared_ptr<const vexlo::PatchActionGroup> actionFile,
            EvaluationSources sources, Intentions& intentions, bool measures = true);

  /// What `action` would come to. Its notes are in the intentions until the next evaluation.
  [[nodiscard]] Evaluation evaluate(const vexlo::ActionID& action);

 private:
  class Processor final : public vexlo::ProcessPatchActions {
   public:
    Processor(vexlo::PatchIdentifier patch,
              std::shared_ptr<const vexlo::PatchActionGroup> actionFile,
              std::unique_ptr<vexlo::PatchProcessingDependencies> dependencies)
        : ProcessPatchActions(std::move(patch), std::move(actionFile), std::move(dependencies)) {}
  };

  /// Keeps what an action measures before anything would have happened.
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
