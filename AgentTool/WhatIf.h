// Answers what a patch would come to on machines that are known by their records.
#pragma once
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Evaluator.h"
#include "AgentTool/FactsRecord.h"
#include "AgentTool/FleetSummary.h"
#include "AgentTool/Intentions.h"
#include "AgentTool/RecordedSources.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

/// What a patch would come to on one machine: the answer of the action that decides.
struct MachineAnswer {
  Answer answer = Answer::success;
  std::string_view code;    ///< The action's; empty when all are a success.
  std::string_view action;  ///< Its name.
  std::string reason;       ///< The description's name; empty without one.
  std::string next;         ///< What would come next; empty for an answer that is a result.
  std::string measured;     ///< What was measured, a JSON array.

  [[nodiscard]] FleetAnswerView counted() const { return {name(answer), code, reason}; }
};

/// Evaluates a patch for one record after the other. The action that decides is the first one that
/// holds the patch up: it can't pass now, fails, depends on the user's answer or on something that
/// the record doesn't hold. Without one it is the first that would do something. For one thread at
/// a time.
class WhatIf {
 public:
  WhatIf(const vexlo::PatchIdentifier& patch,
         const std::shared_ptr<const vexlo::PatchActionGroup>& actionFile);
  WhatIf(const WhatIf&) = delete;
  WhatIf& operator=(const WhatIf&) = delete;

  /// The answer for a record. It lives until the next call.
  [[nodiscard]] const MachineAnswer& answer(const FactsRecord& record);

  /// The actions, in order.
  [[nodiscard]] std::vector<FleetAction> actions() const;

 private:
  struct Action {
    vexlo::ActionID actionID;
    std::string code;
    std::string name;
    std::vector<std::string> arguments;
  };

  void keep(const Action& action, const Evaluation& evaluation);

  std::vector<Action> actions_;
  Intentions intentions_;
  RecordedSources recorded_{intentions_};
  Evaluator evaluator_;
  MachineAnswer answer_;
};

}  // namespace agent_tool
