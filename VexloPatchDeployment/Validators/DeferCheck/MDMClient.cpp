#include "VexloPatchDeployment/Validators/DeferCheck/MDMClient.h"

#include "AgentLibraries/vxutils/TerminalUtil.h"

namespace vexlo {

CommandResult SystemMDMClient::fetchAvailableOSUpdatesRaw() {
  return vxutils::TerminalUtil::defaultInstance().executeTaskForString("/usr/libexec/mdmclient",
                                                                       {"AvailableOSUpdates"});
}

}  // namespace vexlo
