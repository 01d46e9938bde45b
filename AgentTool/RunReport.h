// Tells what came of each action as it ends, as a table for people or as JSON lines.
#pragma once
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "AgentTool/Console.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace agent_tool {

/// An action that is to be run.
struct PlannedAction {
  vexlo::ActionID actionID;
  std::vector<std::string> arguments;
  bool applies = true;  ///< The file gives it to the patch.
};

/// An action that was run.
struct EndedAction {
  const PlannedAction& action;
  vexlo::PatchActionResult result;
  std::chrono::duration<double> took;
};

class RunReport {
 public:
  virtual ~RunReport() = default;
  virtual void began(const std::vector<PlannedAction>& actions) = 0;
  virtual void ended(const EndedAction& action) = 0;
  /// All that was run was told; `notRun` actions were left out after one that was no success.
  virtual void closed(std::size_t notRun) = 0;
};

/// `console` must outlive the report.
[[nodiscard]] std::unique_ptr<RunReport> makeTableReport(Console& console);
[[nodiscard]] std::unique_ptr<RunReport> makeJSONReport(Console& console);

}  // namespace agent_tool
