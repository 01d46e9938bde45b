// The program behind all tools and applications of the Mac; it acts as the one that it is named
// after.
#include "SimulatedMac/StandIns.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string>
#include <string_view>

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

void act(std::string_view name, ToolCall call) {
  const auto* const found = std::ranges::find(kStandIns, name, &StandIn::name);
  (found == kStandIns.end() ? application : found->act)(call);
}

}  // namespace
}  // namespace simulated_mac

int main(int count, char** values) {
  std::string name = values[0];
  name.erase(0, name.rfind('/') + 1);
  try {
    simulated_mac::act(name, {name, {values + 1, values + count}});
  } catch (const std::exception& error) {
    simulated_mac::exitWith(70, error.what());
  }
}
