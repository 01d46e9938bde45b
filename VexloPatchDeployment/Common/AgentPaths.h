// Paths of the agent's files.
#pragma once
#include <string>
#include <string_view>

#include "AgentLibraries/vxutils/GlobalVars.h"

namespace vexlo {

/// The agent's base, data or log directory with `tail`, which starts with "/", appended unchanged.
/// A directory that the agent has not set counts as an empty string.
[[nodiscard]] inline std::string agentBaseFile(std::string_view tail) {
  return vxutils::gv_globvars.vxagentBasePath().value_or("").append(tail);
}
[[nodiscard]] inline std::string agentDataFile(std::string_view tail) {
  return vxutils::gv_globvars.vxagentDataDictPath().value_or("").append(tail);
}
[[nodiscard]] inline std::string agentLogFile(std::string_view tail) {
  return vxutils::gv_globvars.vxagentLogPath().value_or("").append(tail);
}

/// The patch data file, which contains the agent's settings for this library.
[[nodiscard]] inline std::string patchDataFile() { return agentDataFile("/vxpatch_data.plist"); }

}  // namespace vexlo
