#include "AgentTool/Fleet/WhatIf.h"

#include "VexloPatchDeployment/Common/Measurement.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

namespace agent_tool {
WhatIf::WhatIf(const vexlo::PatchIdentifier& patch,
               const std::shared_ptr<const vexlo::PatchActionGroup>& actionFile)
    : evaluator_(patch, actionFile) {
  for (const auto& [actionID, arguments, origin] :
       vexlo::PatchActionProvider(patch, actionFile).actionDetails()) {
    actions_.push_back({.actionID = actionID,
                        .code = std::string(actionID.code()),
                        .name = describe(actionID),
                        .arguments = {arguments.begin(), arguments.end()}});
  }
}

const MachineAnswer& WhatIf::answer(const Facts& facts) {
  evaluator_.use(facts);
  answer_.prediction = Prediction::success;
  answer_.code = {};
  answer_.action = {};
  answer_.reason.clear();
  answer_.next.clear();
  answer_.measured = "[]";
  for (const Action& action : actions_) {
    const Evaluation evaluation = evaluator_.evaluate(action.actionID);
    if (verdictOn(evaluation.prediction).stopsPatch) {
      keep(action, evaluation);
      break;
    }
    if (evaluation.prediction != Prediction::success && answer_.prediction == Prediction::success) {
      keep(action, evaluation);
    }
  }
  return answer_;
}

void WhatIf::keep(const Action& action, const Evaluation& evaluation) {
  answer_.prediction = evaluation.prediction;
  answer_.code = action.code;
  answer_.action = action.name;
  answer_.reason.clear();
  if (isResult(evaluation.prediction) && evaluation.result.description) {
    answer_.reason = name(*evaluation.result.description);
  }
  answer_.next = nextStep(evaluation, evaluator_.intentions());
  answer_.measured = vexlo::measurementsAsJSON(evaluation.measurements);
}

std::vector<FleetAction> WhatIf::actions() const {
  std::vector<FleetAction> actions;
  actions.reserve(actions_.size());
  for (const Action& action : actions_) {
    actions.push_back({.code = action.code, .arguments = action.arguments});
  }
  return actions;
}

}  // namespace agent_tool
