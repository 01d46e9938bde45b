// What the agent does with a patch.
#pragma once
#include <VexloPatchDeployment/VexloPatchDeployment.h>

#include <string>

/// Runs two checks and says what came of them. Leaves a line in the log.
std::string deploy(vexlo::PatchActionProcessing& processor);
