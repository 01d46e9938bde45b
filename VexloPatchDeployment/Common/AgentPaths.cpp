#include "VexloPatchDeployment/Common/AgentPaths.h"

#include "AgentLibraries/vxutils/GlobalVars.h"

namespace vexlo {

std::string agentBaseFile(std::string_view tail) {
  return vxutils::gv_globvars.vxagentBasePath().value_or("").append(tail);
}

std::string agentDataFile(std::string_view tail) {
  return vxutils::gv_globvars.vxagentDataDictPath().value_or("").append(tail);
}

std::string agentLogFile(std::string_view tail) {
  return vxutils::gv_globvars.vxagentLogPath().value_or("").append(tail);
}

std::string patchDataFile() { return agentDataFile("/vxpatch_data.plist"); }

}  // namespace vexlo
