#include "VexloPatchDeployment/Validators/DeferCheck/MDMClient.h"

#include <utility>

#include "AgentLibraries/vxutils/TerminalUtil.h"

namespace vexlo {

MDMClientOutput SystemMDMClient::fetchAvailableOSUpdatesRaw() {
  auto [exitCode, output] = vxutils::TerminalUtil::defaultInstance().executeTaskForString(
      "/usr/libexec/mdmclient", {"AvailableOSUpdates"});
  return {.exitCode = exitCode, .output = std::move(output)};
}

}  // namespace vexlo
