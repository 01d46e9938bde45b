// Formats facts.
#pragma once
#include <string>

#include "AgentTool/Console/Console.h"
#include "AgentTool/Facts/Facts.h"

namespace agent_tool {

/// One JSON object on one line, as described in docs/FACTS.md.
[[nodiscard]] std::string factsAsJSON(const Facts& facts);

/// A readable, aligned table.
[[nodiscard]] std::string factsAsTable(const Facts& facts, const Console& console);

}  // namespace agent_tool
