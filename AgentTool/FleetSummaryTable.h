// Shows a fleet's summary to people.
#pragma once
#include <cstdint>
#include <string>

#include "AgentTool/Console.h"
#include "AgentTool/FleetSummary.h"

namespace agent_tool {

/// Tables with bars: outcomes, then what holds machines up, then macOS versions and processors, and
/// for a comparison the moves.
[[nodiscard]] std::string asTable(const FleetSummary& summary, const Console& console);

/// «1,234,567»
[[nodiscard]] std::string grouped(std::uint64_t number);

}  // namespace agent_tool
