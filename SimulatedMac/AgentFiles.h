// Writes the files of the agent that is installed on a simulated Mac.
#pragma once
#include "SimulatedMac/LayeredRoot.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Writes the agent's directories, action file, settings and prompt counts as the scenario says.
/// Throws `std::system_error`.
void writeAgentFiles(LayeredRoot& root, const Scenario& scenario);

}  // namespace simulated_mac
