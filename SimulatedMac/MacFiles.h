// Writes the files of a simulated Mac: system facts, users, power, applications, the agent's data.
#pragma once
#include <string>

#include "SimulatedMac/LayeredRoot.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Puts everything that `scenario` says into `root`. `mac` is the directory whose contents are
/// every Mac's, `tool` the stand-in program, both of the host. Throws `std::system_error` for a
/// file that can't be made.
void writeMacFiles(LayeredRoot& root, const Scenario& scenario, const std::string& mac,
                   const std::string& tool);

/// The path of an application's executable, for example
/// "/Applications/Safari.app/Contents/MacOS/Safari"; `section` is its section in the scenario.
[[nodiscard]] std::string applicationExecutable(const Scenario& scenario,
                                                const std::string& section);
/// The sections of the scenario that describe applications.
[[nodiscard]] std::vector<std::string> applicationSections(const Scenario& scenario);

}  // namespace simulated_mac
