// Finds members of an action file that its decoded form no longer shows.
#pragma once
#include <string_view>
#include <vector>

#include "AgentTool/ActionFileCheck.h"

namespace agent_tool {

/// Members that occur twice in one object, and members of the document that are not read. `text`
/// is JSON.
[[nodiscard]] std::vector<Oddity> findOddMembers(std::string_view text);

}  // namespace agent_tool
