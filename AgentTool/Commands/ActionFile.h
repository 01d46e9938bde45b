// The action file for commands that look up a patch, and the patch's names that it lacks.
#pragma once
#include <memory>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/Console.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

namespace agent_tool {

/// A decoded file, never null.
using ActionFile = std::shared_ptr<const vexlo::PatchActionGroup>;

/// Throws the `PatchActionFileError` of an unusable file.
[[nodiscard]] ActionFile decoded(vexlo::PatchActionJSONParser& parser);

/// The names of the request's patch that the file lacks, as in its JSON form: "patchID",
/// "productID" or "servicePackID". If the file has no products, a missing product counts as
/// present. They are reported on stderr, where `fileName` names the file; with `strict` a missing
/// one is a `UsageError`.
std::vector<std::string_view> namesNotInFile(const PatchRequest& request,
                                             const vexlo::PatchActionGroup& file, Console& console,
                                             std::string_view fileName = "the action file");

/// The agent's file, and the patch's names that it lacks.
struct CheckedActionFile {
  ActionFile file;
  std::vector<std::string_view> namesNotInFile;
};

/// Throws like the functions above.
[[nodiscard]] CheckedActionFile checkedActionFile(const PatchRequest& request,
                                                  const AgentSession& session, Console& console);

/// The beginning of a command's JSON about a patch: which it is, the names that the file lacks,
/// and whether it is exempt from its product's actions.
[[nodiscard]] FileCodec::JSONObject patchAsJSON(const PatchRequest& request,
                                                const std::vector<std::string_view>& notInFile,
                                                bool exempt);

}  // namespace agent_tool
