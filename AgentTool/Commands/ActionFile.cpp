#include "AgentTool/Commands/ActionFile.h"

#include <utility>

#include "AgentTool/Console/PrintableText.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

namespace agent_tool {

std::expected<UsableActionFile, ExitStatus> actionFile(const vexlo::PatchIdentifier& patch,
                                                       bool strict, const AgentSession& session,
                                                       Console& console) {
  const vexlo::PatchActionJSONParser::Outcome& file = [&]() -> const auto& {
    const auto quiet = session.withoutLinesOnConsole();
    return vexlo::PatchActionJSONParser::shared().cachedPatchActionGroup();
  }();
  if (!file) {
    console.reportError(printable(file.error().what()));
    return std::unexpected(ExitStatus::unusableFile);
  }
  auto names = checkNames(patch, **file, strict, console);
  if (!names) {
    return std::unexpected(names.error());
  }
  return UsableActionFile{.group = *file, .namesNotInFile = *std::move(names)};
}

}  // namespace agent_tool
