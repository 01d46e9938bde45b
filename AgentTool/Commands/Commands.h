// The tool's commands and what is requested of them. Each returns the tool's exit status, or throws
// a `UsageError`, or the `PatchActionFileError` or `DecodingError` of a file that it can't use.
#pragma once
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Facts/Facts.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"

namespace agent_tool {

/// Of the commands about a patch's actions.
struct PatchRequest {
  std::string patchID;
  std::string productID;
  std::string servicePackID;
  bool strict = false;  ///< A patch, product or service pack that is not in the file is bad usage.
  bool json = false;

  [[nodiscard]] vexlo::PatchIdentifier patch() const { return {patchID, productID, servicePackID}; }
};

struct PlanRequest : PatchRequest {
  AgentSettings agent;
};

/// Shows the actions that apply to a patch.
[[nodiscard]] ExitStatus plan(const PlanRequest& request, Console& console);

struct EvaluateRequest : PatchRequest {
  AgentSettings agent;
  std::optional<std::string> factsFile;  ///< "-": standard input. Absent: this machine.
  /// For this machine; waits for `profiles` as long as the library itself does.
  FactsExtent extent{
      .allApplications = true, .agentService = true, .profilesTimeout = std::chrono::minutes(1)};
};

/// Evaluates the actions that apply to a patch without running them. Changes nothing.
[[nodiscard]] ExitStatus evaluate(const EvaluateRequest& request, Console& console);

struct RunRequest : PatchRequest {
  AgentSettings agent;
  std::vector<std::string> actionCodes;  ///< Codes or names; empty for all applicable actions.
  bool keepGoing = false;
  bool explain = false;  ///< Show the log lines of actions that don't succeed.
};

/// Runs actions of a patch until one doesn't succeed, or all with `--keep-going`.
[[nodiscard]] ExitStatus run(const RunRequest& request, Console& console);

struct FactsRequest {
  AgentSettings agent;
  std::optional<std::string> name;  ///< Of the machine, for the line.
  FactsExtent extent{.agentService = true};
  bool json = false;
};

/// Shows what the library sees on this machine. Changes nothing.
[[nodiscard]] ExitStatus facts(const FactsRequest& request, Console& console);

struct WhatIfRequest : PatchRequest {  // `json`: print the summary as JSON
  std::string actionFile;
  std::vector<std::string> factsFiles;     ///< At least one; "-" is standard input.
  std::optional<std::string> compareWith;  ///< The previous action file.
  std::optional<std::string> summaryFile;  ///< Where to write the summary as JSON.
  bool summaryOnly = false;
};

/// Predicts a patch's result for each line of facts, prints one line each, and summarizes them.
[[nodiscard]] ExitStatus whatIf(const WhatIfRequest& request, Console& console);

/// `what-if --merge`.
struct MergeRequest {
  std::vector<std::string> summaryFiles;  ///< "-" is standard input.
  bool json = false;
};

/// Merges the summaries of parts of a fleet.
[[nodiscard]] ExitStatus mergeSummaries(const MergeRequest& request, Console& console);

struct CheckRequest {
  std::vector<std::string> files;  ///< "-" is standard input.
  bool strict = false;             ///< Warnings are failures.
  bool json = false;
};

/// Checks an action file for errors and likely mistakes.
[[nodiscard]] ExitStatus check(const CheckRequest& request, Console& console);

}  // namespace agent_tool
