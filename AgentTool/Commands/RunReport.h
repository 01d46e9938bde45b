// Reports each action while it runs and as it ends, as a table or as JSON lines.
#pragma once
#include <chrono>
#include <cstddef>
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

/// Observes the actions, which run one at a time.
class RunReport : public vexlo::ActionObserver {
 public:
  /// Call first, with all actions.
  virtual void began(const std::vector<PlannedAction>& /*actions*/) {}
  /// Call before `action` runs.
  virtual void starts(const PlannedAction& /*action*/) {
    began_ = std::chrono::steady_clock::now();
    measurements_.clear();
  }
  /// Call when it has run. `logLines` are those of an action that didn't succeed; absent without
  /// `--explain`.
  virtual void ended(const PlannedAction& action, const vexlo::PatchActionResult& result,
                     const std::optional<std::vector<std::string>>& logLines) = 0;
  /// Call last. `notRun` is the number of actions skipped after one that didn't succeed.
  virtual void closed(std::size_t /*notRun*/) {}

  void measured(const vexlo::ActionID& /*action*/, const vexlo::Measurement& measurement) final {
    measurements_.push_back(measurement);
  }

 protected:
  /// Of the action that runs, or has just run.
  [[nodiscard]] const std::vector<vexlo::Measurement>& measurements() const {
    return measurements_;
  }
  /// The time since it started, in seconds.
  [[nodiscard]] double timeGone() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
  }

 private:
  std::chrono::steady_clock::time_point began_;
  std::vector<vexlo::Measurement> measurements_;
};

/// `console` must outlive the report.
[[nodiscard]] std::shared_ptr<RunReport> makeTableReport(Console& console);
[[nodiscard]] std::shared_ptr<RunReport> makeJSONReport(Console& console);

}  // namespace agent_tool
