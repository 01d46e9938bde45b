// The program behind all tools and applications of the Mac; it acts as the one that it is named
// after.
#include "SimulatedMac/StandIns.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "SimulatedMac/Layout.h"
#include "SimulatedMac/ProcessSteps.h"

namespace simulated_mac {
namespace {

struct StandIn {
  std::string_view name;
  void (*act)(ToolCall& call);
};

constexpr std::array kStandIns{
    StandIn{"softwareupdate", softwareUpdate},
    StandIn{"mdmclient", mdmClient},
    StandIn{"profiles", profiles},
    StandIn{"startosinstall", startOSInstall},
    StandIn{"open", openApplication},
    StandIn{"sudo", sudo},
    StandIn{"launchctl", launchctl},
    StandIn{"VexloAppRunningNotifier", prompt},
};

}  // namespace
}  // namespace simulated_mac

int main(int count, char** values) {
  using namespace simulated_mac;
  const std::string name = std::filesystem::path(values[0]).filename();
  const auto* const found = std::ranges::find(kStandIns, name, &StandIn::name);
  auto scenario = Scenario::read(kScenarioFile);
  if (!scenario) {
    exitWith(70, scenario.error());
  }
  ToolCall call{
      .tool = name, .arguments = {values + 1, values + count}, .scenario = *std::move(scenario)};
  try {
    (found == kStandIns.end() ? application : found->act)(call);
  } catch (const std::exception& error) {
    exitWith(70, error.what());
  }
}
