// The tool's commands. Each does what its request asks for and tells how the tool is to end.
#pragma once
#include "AgentTool/CommandLine.h"
#include "AgentTool/Console.h"
#include "AgentTool/ExitStatus.h"

namespace agent_tool {

/// Shows the actions that apply to a patch.
[[nodiscard]] ExitStatus plan(const PlanRequest& request, Console& console);

/// Tells what each action that applies to a patch would come to. Changes nothing.
[[nodiscard]] ExitStatus evaluate(const EvaluateRequest& request, Console& console);

/// Runs actions of a patch, up to the first that is no success unless asked to go on.
[[nodiscard]] ExitStatus run(const RunRequest& request, Console& console);

/// Shows what the library sees on this machine. Changes nothing.
[[nodiscard]] ExitStatus facts(const FactsRequest& request, Console& console);

/// Reads an action file and says what is wrong or odd in it.
[[nodiscard]] ExitStatus check(const CheckRequest& request, Console& console);

}  // namespace agent_tool
