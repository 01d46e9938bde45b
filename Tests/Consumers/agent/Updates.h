// The agent's handling of a patch.
#pragma once
#include <VexloPatchDeployment/VexloPatchDeployment.h>

#include <string>

/// Runs two checks, logs one line and returns a description of the results.
std::string deploy(vexlo::PatchActionProcessing& processor);
