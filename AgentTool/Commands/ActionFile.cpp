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
    console.complain(printable(file.error().what()));
    return std::unexpected(ExitStatus::unusableFile);
  }
  std::vector<NameNotInFile> unknownNames = namesNotInFile(patch, **file);
  reportNamesNotInFile(unknownNames, console);
  if (strict && !unknownNames.empty()) {
    return std::unexpected(ExitStatus::badUsage);
  }
  return UsableActionFile{.group = *file, .namesNotInFile = std::move(unknownNames)};
}

}  // namespace agent_tool
