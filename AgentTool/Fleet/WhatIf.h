// Predicts a patch's result on machines from their recorded facts.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "AgentTool/Evaluation/Evaluator.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Fleet/FleetSummary.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

/// A patch's predicted result on one machine: the prediction for the deciding action.
struct MachinePrediction {
  FleetPrediction counted;
  std::string next;             ///< What would happen next; empty if the outcome is a result.
  std::string measured = "[]";  ///< The measurements as a JSON array.
};

/// Evaluates a patch for one machine at a time. The deciding action is the first that would stop
/// the patch: it can't pass now, fails, or depends on the user or on a fact that is not known. If
/// there is none, it is the first action that would do something, and nothing has acted before.
/// Not thread-safe.
class WhatIf {
 public:
  WhatIf(const vexlo::PatchIdentifier& patch,
         const std::shared_ptr<const vexlo::PatchActionGroup>& actionFile);

  /// The prediction for a machine; valid until the next call.
  [[nodiscard]] const MachinePrediction& predict(const Facts& facts);

  /// How the version that the patch installs, or whose deferral it checks, relates to the
  /// machine's.
  [[nodiscard]] Update update(const Facts& facts) const;

  /// The actions, in order.
  [[nodiscard]] const std::vector<FleetAction>& actions() const noexcept { return actions_; }

 private:
  void keep(const FleetAction& action, const Evaluation& evaluation);

  std::vector<FleetAction> actions_;
  const FleetAction* versionedAction_ = nullptr;  // the one whose first argument is a macOS version
  Evaluator evaluator_;
  MachinePrediction prediction_;
};

}  // namespace agent_tool
