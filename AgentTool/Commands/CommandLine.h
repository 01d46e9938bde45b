// Reads the command line.
#pragma once
#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentTool/Console/ExitStatus.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"

namespace CLI {
class App;
}  // namespace CLI

namespace agent_tool {

/// The agent's settings.
struct AgentSettings {
  vxutils::AgentDirectories directories;          ///< Absolute; absent when not given.
  std::optional<bool> isAppleSilicon;             ///< Absent: ask the machine.
  std::optional<LogCore::LogLevel> minimumLevel;  ///< Absent: no log lines at all.
  std::optional<std::string> logFile;             ///< Absent: standard error.
};

/// Of the commands about a patch's actions.
struct PatchRequest {
  vexlo::PatchIdentifier patch{"", "", ""};
  bool strict = false;  ///< A patch, product or service pack that is not in the file is bad usage.
  bool json = false;
};

struct PlanRequest : PatchRequest {
  AgentSettings agent;
};

struct EvaluateRequest : PatchRequest {
  AgentSettings agent;
  std::optional<std::string> factsFile;  ///< "-": standard input. Absent: this machine.
  bool asksApple = false;                ///< Like the next one, for this machine only.
  bool asksAgent = false;
};

struct RunRequest : PatchRequest {
  AgentSettings agent;
  std::vector<std::string> actionCodes;  ///< Codes or names; empty for all applicable actions.
  bool keepGoing = false;
  bool explain = false;  ///< Show the log lines of actions that don't succeed.
};

struct FactsRequest {
  AgentSettings agent;
  std::optional<std::string> name;        ///< Of the machine, for the line.
  std::vector<std::string> applications;  ///< Bundle identifiers.
  bool allApplications = false;           ///< All running ones.
  bool asksApple = false;
  bool asksAgent = false;
  bool json = false;
};

struct WhatIfRequest : PatchRequest {  // `json`: print the summary as JSON
  std::string actionFile;
  std::vector<std::string> factsFiles;     ///< At least one; "-" is standard input.
  std::optional<std::string> compareWith;  ///< The previous action file.
  std::optional<std::string> summaryFile;  ///< Where to write the summary as JSON.
  bool summaryOnly = false;
};

/// `what-if --merge`.
struct MergeRequest {
  std::vector<std::string> summaryFiles;  ///< "-" is standard input.
  bool json = false;
};

struct CheckRequest {
  std::vector<std::string> files;  ///< "-" is standard input.
  bool strict = false;             ///< Warnings are failures.
  bool json = false;
};

using Request = std::variant<PlanRequest, EvaluateRequest, RunRequest, CheckRequest, FactsRequest,
                             WhatIfRequest, MergeRequest>;

/// A command line that runs no command: a request for help, which succeeds and prints `text`, or an
/// error, described by `text` without a prefix.
struct NoRequest {
  ExitStatus status;
  std::string text;
};

[[nodiscard]] std::expected<Request, NoRequest> readCommandLine(int argc, const char* const* argv);

/// Calls `read` with the definition of the command line, for generating its reference.
void withDefinition(const std::function<void(const CLI::App&)>& read);

}  // namespace agent_tool
