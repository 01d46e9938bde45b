#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

#include <cstdint>

#include "AgentLibraries/vxutils/TerminalUtil.h"

namespace vexlo {
namespace {

constexpr std::int64_t kTimeoutSeconds = 7200;

}  // namespace

TerminalUtil& TerminalUtil::defaultInstance() {
  static TerminalUtil instance;
  return instance;
}

CommandResult TerminalUtil::run(const std::string& command,
                                const std::optional<std::string>& launchPath,
                                const std::optional<std::string>& pipeInput) {
  return vxutils::TerminalUtil::defaultInstance().runCommand(
      command, /*directory=*/std::nullopt, launchPath, pipeInput, kTimeoutSeconds,
      /*logOutputContinuously=*/true, /*shouldLogOutput=*/false);
}

}  // namespace vexlo
