// What the documents' fragments of C++ take for granted.
#pragma once
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/RunningCommands.h"
#include "VexloPatchDeployment/VexloPatchDeployment.h"

extern const std::string root;
extern vexlo::ProcessPatchActions& processor;
