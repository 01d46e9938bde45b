// Writes the files of a simulated Mac.
#pragma once
#include <string>

#include "SimulatedMac/LayeredRoot.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Writes the files that `scenario` describes into `root`: system, users, power supplies,
/// applications, tools, the agent's data. `mac` is the host directory with the files of every Mac,
/// `tool` the stand-in program. Throws `std::system_error`.
void writeMacFiles(LayeredRoot& root, const Scenario& scenario, const std::string& mac,
                   const std::string& tool);

/// The agent's part of them: its directories, action file, settings and prompt counts.
void writeAgentFiles(LayeredRoot& root, const Scenario& scenario);

/// The path of an application's executable, for example
/// "/Applications/Safari.app/Contents/MacOS/Safari"; `section` is its section in the scenario.
[[nodiscard]] std::string applicationExecutable(const Scenario& scenario,
                                                const std::string& section);

}  // namespace simulated_mac
