#include "AgentLibraries/vxutils/RunningCommands.h"

#include "Platform/RunningProcesses.h"

namespace vxutils {

bool endRunningCommands(std::chrono::milliseconds grace) noexcept {
  return platform::endRunningProcesses(grace);
}

}  // namespace vxutils
