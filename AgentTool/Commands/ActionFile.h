// The agent's action file for commands that look up a patch.
#pragma once
#include <expected>
#include <memory>
#include <vector>

#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/NamesNotInFile.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/ExitStatus.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

/// The decoded file, never null, and the patch's names that it lacks.
struct UsableActionFile {
  std::shared_ptr<const vexlo::PatchActionGroup> group;
  std::vector<NameNotInFile> namesNotInFile;
};

/// The process's decoded file. Reports on stderr why it is unusable, or which of the patch's names
/// it lacks; with `strict` that is a usage error. The error is the tool's exit status.
[[nodiscard]] std::expected<UsableActionFile, ExitStatus> actionFile(
    const vexlo::PatchIdentifier& patch, bool strict, const AgentSession& session,
    Console& console);

}  // namespace agent_tool
