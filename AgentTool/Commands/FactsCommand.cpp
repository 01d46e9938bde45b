#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Facts/Facts.h"

namespace agent_tool {

ExitStatus facts(const FactsRequest& request, Console& console) {
  const AgentSession session(request.agent, console);
  Facts facts = readFacts(request.extent);
  facts.name = request.name;
  console.write(request.json ? factsAsJSON(facts) : factsAsTable(facts, console));
  return ExitStatus::success;
}

}  // namespace agent_tool
