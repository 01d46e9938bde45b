// Reports each action as it ends, as a table or as JSON lines.
#pragma once
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AgentTool/Console/Console.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace agent_tool {

/// An action to run.
struct PlannedAction {
  vexlo::ActionID actionID;
  std::vector<std::string> arguments;
  bool applies = true;  ///< Whether it applies to the patch.
};

/// An action and its result.
struct EndedAction {
  const PlannedAction& action;
  vexlo::PatchActionResult result;
  std::vector<vexlo::Measurement> measurements;
  /// The log lines of an action that didn't succeed; absent without `--explain`.
  std::optional<std::vector<std::string>> logLines;
  std::chrono::duration<double> took;
};

class RunReport {
 public:
  virtual ~RunReport() = default;
  virtual void began(const std::vector<PlannedAction>& actions) = 0;
  /// `action`, which started `took` ago, has made progress or pauses.
  virtual void progressed(const PlannedAction& action, const vexlo::ActionProgress& progress,
                          std::chrono::duration<double> took) = 0;
  virtual void ended(const EndedAction& action) = 0;
  /// Call last. `notRun` is the number of actions skipped after one that didn't succeed.
  virtual void closed(std::size_t notRun) = 0;
};

/// `console` must outlive the report.
[[nodiscard]] std::unique_ptr<RunReport> makeTableReport(Console& console);
[[nodiscard]] std::unique_ptr<RunReport> makeJSONReport(Console& console);

}  // namespace agent_tool
