// Stands in for the agent's own service.
#pragma once
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Serves the agent's socket as the scenario says, until the process is killed. Writes to the
/// descriptor `ready` and closes it once the service can be reached. Throws `std::runtime_error` if
/// it can't listen.
[[noreturn]] void serveAgent(const Scenario& scenario, int ready);

}  // namespace simulated_mac
