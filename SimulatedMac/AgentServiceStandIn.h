// Stands in for the agent's own service.
#pragma once
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Serves the agent's socket as the scenario says, until the process is killed. Writes to the
/// descriptor `ready` and closes it once the service can be reached.
[[noreturn]] void serveAgent(const Scenario& scenario, int ready);

/// Whether the scenario has a service at all.
[[nodiscard]] bool hasAgentService(const Scenario& scenario);

}  // namespace simulated_mac
