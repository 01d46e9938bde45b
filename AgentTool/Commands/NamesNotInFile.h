// Reports names that are not in the action file and may be typing errors.
#pragma once
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/ExitStatus.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

struct NameNotInFile {
  std::string_view
      member;        ///< Of the JSON form of a patch: "patchID", "productID", "servicePackID".
  std::string text;  ///< «patch 1», «product 2», «service pack 3 of product 2»
};

/// The names that the file lacks, which are reported on stderr; with `strict` a missing one is a
/// usage error. If the file has no products, a missing product counts as present.
[[nodiscard]] std::expected<std::vector<NameNotInFile>, ExitStatus> checkNames(
    const vexlo::PatchIdentifier& patch, const vexlo::PatchActionGroup& file, bool strict,
    Console& console);

/// `["patchID","productID"]`
[[nodiscard]] std::string asJSON(const std::vector<NameNotInFile>& names);

/// The beginning of a command's answer about a patch: which it is, the names that the file lacks,
/// and whether it is exempt from its product's actions.
[[nodiscard]] FileCodec::JSONObject patchAsJSON(const vexlo::PatchIdentifier& patch,
                                                const std::vector<NameNotInFile>& notInFile,
                                                bool exempt);

}  // namespace agent_tool
