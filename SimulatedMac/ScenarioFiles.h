// The host's files: scenarios and the files that every Mac has.
#pragma once
#include <expected>
#include <string>
#include <vector>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// The directory of this program.
[[nodiscard]] std::string programDirectory();
/// The directory with the scenarios and the files that every Mac has.
[[nodiscard]] std::string sourceDirectory();
/// The program behind all tools and applications of the Mac.
[[nodiscard]] std::string standInProgram();

/// The defaults, overlaid with the scenario, overlaid with `settings` ("section/key=value").
/// `scenario` is a name in the scenarios directory, or a path with a slash. The error is one line.
[[nodiscard]] std::expected<Scenario, std::string> readScenario(
    const std::string& scenario, const std::vector<std::string>& settings);

/// Prints each scenario's name and the first line of its opening comment to standard output.
void listScenarios();

}  // namespace simulated_mac
