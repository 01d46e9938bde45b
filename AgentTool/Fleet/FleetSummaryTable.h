// Formats a fleet's summary for display.
#pragma once
#include <cstdint>
#include <string>

#include "AgentTool/Console/Console.h"
#include "AgentTool/Fleet/FleetSummary.h"

namespace agent_tool {

/// Tables with bars: outcomes, blocking reasons, kinds of machine and for a comparison the changes;
/// then what their words mean.
[[nodiscard]] std::string asTable(const FleetSummary& summary, const Console& console);

/// «1,234,567»
[[nodiscard]] std::string grouped(std::uint64_t number);

}  // namespace agent_tool
