// Looks through an action file for errors and for what its author can't have meant.
#pragma once
#include <string_view>
#include <vector>

#include "AgentTool/Finding.h"

namespace agent_tool {

/// All that is wrong or odd in an action file's text (without a byte order mark), in the text's
/// order. A syntax error is the only finding; of wrong types there may be many.
[[nodiscard]] std::vector<Finding> lookThrough(std::string_view text);

}  // namespace agent_tool
