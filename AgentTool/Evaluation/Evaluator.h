// Predicts the results of a patch's actions without running them.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AgentTool/Evaluation/Prediction.h"
#include "AgentTool/Facts/Facts.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/Measurement.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace agent_tool {

/// What is predicted for one action.
struct Evaluation {
  Prediction prediction = Prediction::success;
  /// The action's result; absent if something else would happen first.
  std::optional<vexlo::PatchActionResult> result;
  /// What the checks measured before that, or what decided without a measurement.
  std::vector<vexlo::Measurement> measurements;
  /// What would happen: «would ask: 2 postponements left», «would kill Safari, Mail», «would run …,
  /// then …», «not asked: softwareupdate --list». Empty if the prediction is a result.
  std::string next;
  /// The display names that the prompt would show, or of the applications that would be killed.
  std::vector<std::string> applications;
  std::int64_t postponementsLeft = 0;  ///< That the prompt would offer; less than 1 for none.
  /// The command lines that would run in sequence until one fails.
  std::vector<std::string> commands;

  /// The name of the result's description, if it has one.
  [[nodiscard]] std::optional<std::string> reason() const;
};

/// Evaluates the actions of one patch with the library's processor, checks and installers on a
/// machine that only consists of facts. Reusable for any number of machines. Not thread-safe.
class Evaluator {
 public:
  Evaluator(vexlo::PatchIdentifier patch,
            std::shared_ptr<const vexlo::PatchActionGroup> actionFile);

  /// Evaluates for the machine with these facts, which must stay valid until the next call. Call it
  /// first.
  void use(const Facts& facts);

  /// Valid until the next evaluation.
  [[nodiscard]] const Evaluation& evaluate(const vexlo::ActionID& action);

 private:
  class RecordedMachine;
  class Checks;

  std::shared_ptr<RecordedMachine> machine_;
  std::unique_ptr<vexlo::ProcessPatchActions> processor_;
};

}  // namespace agent_tool
