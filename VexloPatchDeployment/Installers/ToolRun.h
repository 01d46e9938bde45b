// Measures runs of installation tools.
#pragma once
#include <string>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"

namespace vexlo {

/// The measurement for a finished run.
[[nodiscard]] ToolRunMeasurement toolRun(ToolRunMeasurement::Step step, const std::string& subject,
                                         const CommandResult& result);

}  // namespace vexlo
