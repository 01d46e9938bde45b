// The agent's action file, as the commands that look up a patch in it use it.
#pragma once
#include <expected>
#include <memory>
#include <vector>

#include "AgentTool/AgentSession.h"
#include "AgentTool/Console.h"
#include "AgentTool/ExitStatus.h"
#include "AgentTool/NamesNotInFile.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

/// The decoded file, never null, and which of the patch's names it doesn't hold.
struct UsableActionFile {
  std::shared_ptr<const vexlo::PatchActionGroup> group;
  std::vector<NameNotInFile> namesNotInFile;
};

/// The decoded file of the process. Says on standard error why it can't be used, and which of the
/// patch's names it doesn't hold; with `strict` that is bad usage. The error is how the tool ends.
[[nodiscard]] std::expected<UsableActionFile, ExitStatus> actionFile(
    const vexlo::PatchIdentifier& patch, bool strict, const AgentSession& session,
    Console& console);

}  // namespace agent_tool
