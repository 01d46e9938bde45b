// Reports names that are not in the action file and may be typing errors.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Console/Console.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

struct NameNotInFile {
  std::string_view
      member;        ///< Of the JSON form of a patch: "patchID", "productID", "servicePackID".
  std::string text;  ///< «patch 1», «product 2», «service pack 3 of product 2»
};

/// The names that the file lacks. If the file has no products, a missing product is not reported.
[[nodiscard]] std::vector<NameNotInFile> namesNotInFile(const vexlo::PatchIdentifier& patch,
                                                        const vexlo::PatchActionGroup& file);

/// Reports on stderr that they are not in the file. Does nothing for an empty list.
void reportNamesNotInFile(const std::vector<NameNotInFile>& names, Console& console);

/// `["patchID","productID"]`
[[nodiscard]] std::string asJSON(const std::vector<NameNotInFile>& names);

}  // namespace agent_tool
