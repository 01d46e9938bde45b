// Process 1 of a simulated Mac.
#pragma once
#include "SimulatedMac/Enter.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Builds the Mac, starts its service and applications, runs the command, and returns the exit
/// status of `enter`. Runs in the first process of new mount and process namespaces: when it exits,
/// everything in the Mac is killed.
int runFirstProcess(const Scenario& scenario, const EnterOptions& options);

}  // namespace simulated_mac
