#include "SimulatedMac/ScenarioFiles.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

#include "Platform/Files.h"

namespace simulated_mac {
namespace fs = std::filesystem;
namespace {

constexpr std::uint64_t kLargestScenario = std::uint64_t{1} << 20;

std::expected<Scenario, std::string> readScenarioFile(const std::string& path) {
  const auto text = platform::readFile(path, {.maximumBytes = kLargestScenario});
  if (!text) {
    return std::unexpected(text.error().code == std::errc::no_such_file_or_directory
                               ? path + ": no such scenario; enter --list shows them"
                               : text.error().message);
  }
  return Scenario::parse(*text, path);
}

}  // namespace

// Relative to this program, as installed and in a build folder, so that an installed tree can move.
std::string programDirectory() {
  return fs::path(fs::read_symlink("/proc/self/exe")).parent_path();
}
std::string sourceDirectory() { return programDirectory() + "/" SIMULATED_MAC_DATA; }
std::string standInProgram() { return programDirectory() + "/" SIMULATED_MAC_TOOL; }

std::expected<Scenario, std::string> readScenario(const std::string& scenario,
                                                  const std::vector<std::string>& settings) {
  auto merged = readScenarioFile(sourceDirectory() + "/defaults.ini");
  if (!merged) {
    return merged;
  }
  const bool isPath = scenario.find('/') != std::string::npos;
  const auto file =
      readScenarioFile(isPath ? scenario : sourceDirectory() + "/scenarios/" + scenario + ".ini");
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
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(sourceDirectory() + "/scenarios")) {
    if (entry.path().extension() == ".ini") {
      files.push_back(entry.path());
    }
  }
  std::ranges::sort(files);
  for (const fs::path& file : files) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    std::string name = file.stem();
    name.resize(std::max<std::size_t>(name.size() + 2, 26), ' ');
    std::cout << name << (line.starts_with("# ") ? line.substr(2) : "") << "\n";
  }
}

}  // namespace simulated_mac
