#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

#include <cstdint>
#include <string_view>

#include "AgentLibraries/vxutils/TerminalUtil.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/ToolProgress.h"

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
  std::optional<ToolProgress> progress;
  vxutils::TerminalUtil::OutputReader readOutput;
  if (RunningAction::isObserved()) {
    ToolProgress& reader = progress.emplace(progressed);
    readOutput = [&reader](std::string_view piece) { reader.read(piece); };
  }
  CommandResult result = vxutils::TerminalUtil::defaultInstance().runCommand(
      command, /*directory=*/std::nullopt, launchPath, pipeInput, kTimeoutSeconds,
      /*logOutputContinuously=*/true, /*shouldLogOutput=*/false, readOutput);
  if (progress) {
    progress->finish();
  }
  return result;
}

}  // namespace vexlo
