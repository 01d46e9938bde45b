// The tool's commands. Each returns the tool's exit status.
#pragma once
#include "AgentTool/Commands/CommandLine.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/ExitStatus.h"

namespace agent_tool {

/// Shows the actions that apply to a patch.
[[nodiscard]] ExitStatus plan(const PlanRequest& request, Console& console);

/// Evaluates the actions that apply to a patch without running them. Changes nothing.
[[nodiscard]] ExitStatus evaluate(const EvaluateRequest& request, Console& console);

/// Runs actions of a patch until one doesn't succeed, or all with `--keep-going`.
[[nodiscard]] ExitStatus run(const RunRequest& request, Console& console);

/// Shows what the library sees on this machine. Changes nothing.
[[nodiscard]] ExitStatus facts(const FactsRequest& request, Console& console);

/// Predicts a patch's result for each line of facts, prints one line each, and summarizes them.
[[nodiscard]] ExitStatus whatIf(const WhatIfRequest& request, Console& console);

/// Merges the summaries of parts of a fleet.
[[nodiscard]] ExitStatus mergeSummaries(const MergeRequest& request, Console& console);

/// Checks an action file for errors and likely mistakes.
[[nodiscard]] ExitStatus check(const CheckRequest& request, Console& console);

}  // namespace agent_tool
