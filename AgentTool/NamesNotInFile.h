// The patch, product and service pack that an action file knows nothing of: typing errors, perhaps.
#pragma once
#include <string>
#include <vector>

#include "AgentTool/Console.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace agent_tool {

/// «patch 1», «product 2», «service pack 3 of product 2», as far as the file doesn't hold them. A
/// file without products is not said to lack one.
[[nodiscard]] std::vector<std::string> namesNotInFile(const vexlo::PatchIdentifier& patch,
                                                      const vexlo::PatchActionGroup& file);

/// Says on standard error that the file doesn't hold them. Nothing for an empty list.
void complainOf(const std::vector<std::string>& namesNotInFile, Console& console);

}  // namespace agent_tool
