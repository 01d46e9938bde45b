#include "SimulatedMac/ScenarioFiles.h"

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <set>

namespace simulated_mac {
namespace fs = std::filesystem;

// Relative to this program, as installed and in a build folder, so that an installed tree can move.
std::string programDirectory() {
  return fs::path(fs::read_symlink("/proc/self/exe")).parent_path();
}
std::string sourceDirectory() { return programDirectory() + "/" SIMULATED_MAC_DATA; }
std::string standInProgram() { return programDirectory() + "/" SIMULATED_MAC_TOOL; }

std::expected<Scenario, std::string> readScenario(const std::string& scenario,
                                                  const std::vector<std::string>& settings) {
  auto merged = Scenario::read(sourceDirectory() + "/defaults.ini");
  if (!merged) {
    return merged;
  }
  const bool isPath = scenario.find('/') != std::string::npos;
  const auto file =
      Scenario::read(isPath ? scenario : sourceDirectory() + "/scenarios/" + scenario + ".ini");
  if (!file) {
    return file;
  }
  merged->overlay(*file);
  Scenario given;
  for (const std::string& setting : settings) {
    if (const auto added = given.add(setting); !added) {
      return std::unexpected("--set: " + added.error());
    }
  }
  merged->overlay(given);
  return merged;
}

void listScenarios() {
  const fs::directory_iterator folder(sourceDirectory() + "/scenarios");
  for (const fs::path& file : std::set<fs::path>(begin(folder), end(folder))) {
    if (file.extension() != ".ini") {
      continue;
    }
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    std::cout << std::left << std::setw(24) << file.stem().string() << "  "
              << (line.starts_with("# ") ? line.substr(2) : "") << "\n";
  }
}

}  // namespace simulated_mac
