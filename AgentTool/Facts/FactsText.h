// Shows facts to people.
#pragma once
#include <string>

#include "AgentTool/Console/Console.h"
#include "AgentTool/Facts/Facts.h"

namespace agent_tool {

/// A readable, aligned table.
[[nodiscard]] std::string factsAsTable(const Facts& facts, const Console& console);

}  // namespace agent_tool
