// Finds odd members of an action file that the decoded form doesn't show.
#pragma once
#include <string_view>
#include <vector>

#include "AgentTool/ActionFileCheck.h"

namespace agent_tool {

/// Members that occur twice in an object, and members of the document that are ignored. `text` must
/// be valid JSON.
[[nodiscard]] std::vector<Oddity> findOddMembers(std::string_view text);

}  // namespace agent_tool
