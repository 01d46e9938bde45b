// Finds errors and likely mistakes in an action file.
#pragma once
#include <string_view>
#include <vector>

#include "AgentTool/ActionFiles/Finding.h"

namespace agent_tool {

/// All errors and likely mistakes in an action file's text, in order. A syntax error is the only
/// one of its kind; there may be several wrong types.
[[nodiscard]] std::vector<Finding> checkActionFile(std::string_view text);

}  // namespace agent_tool
