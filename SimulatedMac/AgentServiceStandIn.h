// The agent's own service, as the simulated Mac has it.
#pragma once
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Serves the agent's socket as the scenario says, for good. `ready` is a descriptor that is
/// closed once the service can be reached. For a process of its own.
[[noreturn]] void serveAgent(const Scenario& scenario, int ready);

/// Whether the scenario has a service at all.
[[nodiscard]] bool hasAgentService(const Scenario& scenario);

/// The value that the scenario's service holds under the key, empty when none.
[[nodiscard]] std::string agentServiceValue(const Scenario& scenario, std::string_view key);

}  // namespace simulated_mac
