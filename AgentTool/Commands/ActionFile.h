// The action file for commands that look up a patch, and the patch's names that it lacks.
#pragma once
#include <expected>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/ExitStatus.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

/// A name that is not in the action file and may be a typing error.
struct NameNotInFile {
  std::string_view
      member;        ///< Of the JSON form of a patch: "patchID", "productID", "servicePackID".
  std::string text;  ///< «patch 1», «product 2», «service pack 3 of product 2»
};

/// The names of the request's patch that the file lacks, which are reported on stderr; with
/// `strict` a missing one is a usage error. If the file has no products, a missing product counts
/// as present.
[[nodiscard]] std::expected<std::vector<NameNotInFile>, ExitStatus> checkNames(
    const PatchRequest& request, const vexlo::PatchActionGroup& file, Console& console);

/// The decoded file, never null, and the patch's names that it lacks.
struct UsableActionFile {
  std::shared_ptr<const vexlo::PatchActionGroup> group;
  std::vector<NameNotInFile> namesNotInFile;
};

/// The process's decoded file, checked for the names. Reports on stderr why it is unusable. The
/// error is the tool's exit status.
[[nodiscard]] std::expected<UsableActionFile, ExitStatus> actionFile(const PatchRequest& request,
                                                                     const AgentSession& session,
                                                                     Console& console);

/// `["patchID","productID"]`
[[nodiscard]] std::string asJSON(const std::vector<NameNotInFile>& names);

/// The beginning of a command's JSON about a patch: which it is, the names that the file lacks,
/// and whether it is exempt from its product's actions.
[[nodiscard]] FileCodec::JSONObject patchAsJSON(const vexlo::PatchIdentifier& patch,
                                                const std::vector<NameNotInFile>& notInFile,
                                                bool exempt);

}  // namespace agent_tool
