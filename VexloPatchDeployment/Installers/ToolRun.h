// Measures the run of an installation's tool.
#pragma once
#include <string>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Common/RunningAction.h"

namespace vexlo {

/// What is told of a run that has ended.
[[nodiscard]] ToolRunMeasurement toolRun(ToolRunMeasurement::Step step, const std::string& subject,
                                         const CommandResult& result);

}  // namespace vexlo
