#include "AgentTool/Commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "AgentTool/ActionFiles/ActionReference.h"
#include "AgentTool/Commands/BuildVersion.h"
#include "AgentTool/Commands/HelpText.h"
#include "AgentTool/Console/PrintableText.h"

namespace agent_tool {
namespace {

constexpr const char* kAgentRootVariable = "VEXLO_AGENT_ROOT";

std::string versionText() {
  return "VexloPatchDeployment " + std::string(kFullVersion) + " (commit " + std::string(kCommit) +
         ")";
}

/// What the parser fills in. Only one command is on a command line, so commands share options.
struct Options {
  std::string patchID;
  std::string productID;
  std::string servicePackID;
  std::optional<std::string> agentRoot;
  std::optional<std::string> baseDirectory;
  std::optional<std::string> dataDirectory;
  std::optional<std::string> logDirectory;
  std::string machine = "auto";
  std::optional<std::string> logLevel;
  std::optional<std::string> logFile;
  PlanRequest plan;
  EvaluateRequest evaluate;
  RunRequest run;
  CheckRequest check;
  FactsRequest facts;
  WhatIfRequest whatIf;
  bool mergesSummaries = false;
  std::string helpTopic;
  std::string helpAction;
  std::string helpForm = "text";
};

void addPatch(CLI::App& command, Options& options, bool isRequired = true) {
  const auto add = [&](const char* name, std::string& value, const char* what) {
    command.add_option(name, value, what)
        ->required(isRequired)
        ->type_name("ID")
        ->group(kPatchGroup);
  };
  add("--patch", options.patchID, "the patch");
  add("--product", options.productID, "its product");
  add("--service-pack", options.servicePackID, "the product's service pack");
}

/// Adds an option of the agent's settings.
template <typename Value>
CLI::Option* addSetting(CLI::App& command, const char* name, Value& value, const char* type,
                        const char* what) {
  return command.add_option(name, value, what)->type_name(type)->group(kAgentGroup);
}

void addBase(CLI::App& command, Options& options, const char* whatRootIs) {
  addSetting(command, "--agent-root", options.agentRoot, "DIR", whatRootIs)
      ->envname(kAgentRootVariable);
  addSetting(command, "--base-dir", options.baseDirectory, "DIR", "the agent's base directory");
}

void addLog(CLI::App& command, Options& options, const char* whichLevel) {
  addSetting(command, "--log-level", options.logLevel, "debug|info|error|none", whichLevel)
      ->check(CLI::IsMember({"debug", "info", "error", "none"}).description(""));
  addSetting(command, "--log-file", options.logFile, "FILE",
             "append log lines to FILE instead of standard error");
}

/// Adds all settings, for commands that read the machine's state.
void addAgent(CLI::App& command, Options& options, const char* whichLevel) {
  addBase(command, options, "base = DIR, data = DIR/data, logs = DIR/logs");
  addSetting(command, "--data-dir", options.dataDirectory, "DIR", "the agent's data directory");
  addSetting(command, "--log-dir", options.logDirectory, "DIR", "the agent's log directory");
  addSetting(command, "--machine", options.machine, "auto|apple-silicon|intel",
             "the processor type (auto: detect it)")
      ->check(CLI::IsMember({"auto", "apple-silicon", "intel"}).description(""));
  addLog(command, options, whichLevel);
}

/// Adds an option with one value for each time that it is given. `ifEmpty` rejects an empty value:
/// an empty variable in a script must not select everything.
void addRepeatable(CLI::App& command, const char* name, std::vector<std::string>& values,
                   const char* type, const char* what, const char* ifEmpty) {
  command.add_option(name, values, what)
      ->type_name(type)
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check([ifEmpty](const std::string& value) { return value.empty() ? ifEmpty : ""; });
}

void addQuestions(CLI::App& command, bool& asksApple, bool& asksAgent, const char* whatAgent) {
  command.add_flag("--ask-apple", asksApple,
                   "ask Apple's servers about updates (softwareupdate --list, mdmclient)");
  command.add_flag("--ask-agent", asksAgent, whatAgent);
}

void addStrict(CLI::App& command, PatchRequest& request) {
  command.add_flag("--strict", request.strict,
                   "fail with status 64 if the file has no such patch, product or service pack");
}

/// Lists the exit statuses: the command's own and those that all commands have. `unusable` explains
/// 65, if it can occur.
void setFooter(CLI::App& command, const std::string& exitStatus, const std::string& unusable = "") {
  command.footer("\nExit status:\n" + exitStatus + "\n  64  bad usage\n" +
                 (unusable.empty() ? "" : "  65  " + unusable + "\n") + "  71  not enough memory");
}

void addWhatIf(CLI::App& app, Options& options) {
  CLI::App& whatIf = *app.add_subcommand(
      "what-if", "Predicts a patch's result on each machine of a fleet, one line per machine.");
  whatIf.add_option("ACTIONS", options.whatIf.actionFile, "the action file")->type_name("");
  whatIf
      .add_option("FACTS", options.whatIf.factsFiles,
                  "files with a line of 'facts --json' per machine (default: -, standard input)")
      ->type_name("");
  addPatch(whatIf, options, false);
  addStrict(whatIf, options.whatIf);
  whatIf
      .add_option("--compare", options.whatIf.compareWith,
                  "show only machines whose result differs with this action file")
      ->type_name("ACTIONS");
  whatIf.add_flag("--summary", options.whatIf.summaryOnly, "print only the summary, as a table");
  whatIf
      .add_option("--summary-file", options.whatIf.summaryFile,
                  "write the summary to FILE as JSON, instead of a table to standard error")
      ->type_name("FILE");
  whatIf.add_flag("--merge", options.mergesSummaries,
                  "the files are summaries, one per line: merge them and print the result. Only "
                  "with --json");
  whatIf.add_flag("--json", options.whatIf.json,
                  "with --summary or --merge: print one JSON object on one line");
  setFooter(whatIf,
            "  0   every line was evaluated\n"
            "  1   a file of facts can't be read\n"
            "  2   invalid lines were skipped and reported on standard error",
            "an action file or a summary can't be used");
}

void addPlan(CLI::App& app, Options& options) {
  CLI::App& plan = *app.add_subcommand(
      "plan", "Shows the applicable actions in order, and where each comes from.");
  addPatch(plan, options);
  addStrict(plan, options.plan);
  plan.add_flag("--json", options.plan.json, "print one JSON object instead of a table");
  addBase(plan, options, "base = DIR");
  addLog(plan, options, "the lowest level to log (default: error)");
  setFooter(plan, "  0   the plan was printed", "the action file can't be used");
}

void addEvaluate(CLI::App& app, Options& options) {
  CLI::App& evaluate =
      *app.add_subcommand("evaluate", "Predicts each action's result without changing anything.");
  addPatch(evaluate, options);
  CLI::Option& factsFile = *evaluate.add_option(
      "--facts", options.evaluate.factsFile,
      "evaluate the machine that printed this line of 'facts --json' (- for standard input)");
  factsFile.type_name("FILE");
  addQuestions(evaluate, options.evaluate.asksApple, options.evaluate.asksAgent,
               "ask the agent's service whether credentials are stored");
  addStrict(evaluate, options.evaluate);
  evaluate.add_flag("--json", options.evaluate.json, "print one JSON object instead of a table");
  addAgent(evaluate, options, "the lowest level to log (default: none)");
  for (const char* const aboutThisMachine : {"--ask-apple", "--ask-agent", "--machine"}) {
    evaluate.get_option(aboutThisMachine)->excludes(&factsFile);
  }
  setFooter(
      evaluate,
      "  0   no action would stop the patch\n"
      "  75  an action would stop it until later, or depends on something that was not asked\n"
      "  1   an action would fail",
      "the action file or the facts can't be used");
}

void addRun(CLI::App& app, Options& options) {
  CLI::App& run = *app.add_subcommand("run", "Runs the actions in order, as the agent would.");
  addPatch(run, options);
  addRepeatable(run, "--action", options.run.actionCodes, "CODE|NAME",
                "run only this action; may be repeated. An action that doesn't apply passes",
                "a code or name is needed");
  run.add_flag("--keep-going", options.run.keepGoing,
               "continue after an action that doesn't succeed");
  run.add_flag("--explain", options.run.explain,
               "show the log lines of actions that don't succeed");
  addStrict(run, options.run);
  run.add_flag("--json", options.run.json, "print one JSON object per line, as each action ends");
  addAgent(run, options, "the lowest level to log (default: info)");
  setFooter(run,
            "  0   all actions passed\n"
            "  75  an action has to be applied later\n"
            "  1   an action failed",
            "the action file can't be used");
}

void addCheck(CLI::App& app, Options& options) {
  CLI::App& check = *app.add_subcommand(
      "check", "Finds errors in action files, gives warnings, and shows where they are.");
  check.add_option("FILE", options.check.files, "the action files (- for standard input)")
      ->required()
      ->type_name("");
  check.add_flag("--strict", options.check.strict, "exit with 1 if there is a warning");
  check.add_flag("--json", options.check.json,
                 "print one JSON object per file, each on one line, instead of text");
  setFooter(check,
            "  0   the files can be used\n"
            "  1   with --strict: there is a warning",
            "a file can't be used");
}

void addFacts(CLI::App& app, Options& options) {
  CLI::App& facts =
      *app.add_subcommand("facts", "Shows what the library sees on this machine; changes nothing.");
  addRepeatable(facts, "--application", options.facts.applications, "BUNDLE-ID",
                "show the running instances of this application; may be repeated",
                "a bundle identifier is needed");
  facts.add_flag("--all-applications", options.facts.allApplications,
                 "show all running applications that have a bundle identifier");
  addQuestions(facts, options.facts.asksApple, options.facts.asksAgent,
               "ask the agent's service whether credentials are stored (up to 20 seconds)");
  facts.add_option("--name", options.facts.name, "the machine's name, for what-if")
      ->type_name("NAME")
      ->check([](const std::string& name) { return name.empty() ? "a name is needed" : ""; });
  facts.add_flag("--json", options.facts.json,
                 "print one JSON object on one line instead of a table");
  addAgent(facts, options, "the lowest level to log (default: none)");
  setFooter(facts, "  0   the facts were printed; unreadable ones are absent, with the reason");
}

void addHelp(CLI::App& app, Options& options) {
  CLI::App& help = *app.add_subcommand("help", "Explains a command or the actions.");
  help.add_option("COMMAND", options.helpTopic, "a command, or 'actions'")->type_name("");
  help.add_option("ACTION", options.helpAction, "after 'actions': the code or name of one")
      ->type_name("");
  help.add_option("--as", options.helpForm,
                  "with 'actions': print text, Markdown, or the JSON Schema of the action file")
      ->type_name("text|markdown|schema")
      ->check(CLI::IsMember({"text", "markdown", "schema"}).description(""));
}

constexpr const char* kDescription =
    "Plans, runs and checks the actions of a patch, as the agent would.";

void define(CLI::App& app, Options& options) {
  app.set_help_flag("-h,--help", "show this help");
  app.set_version_flag("--version", versionText(), "show the library's version and commit");
  app.require_subcommand(1);
  for (const auto add : {addPlan, addEvaluate, addRun, addCheck, addFacts, addWhatIf, addHelp}) {
    add(app, options);
  }
}

NoRequest helpOn(const CLI::App& app) { return {ExitStatus::success, helpText(app)}; }

NoRequest badUsage(std::string_view text, const CLI::App& command) {
  const bool isWhole = command.get_parent() == nullptr;
  return {ExitStatus::badUsage, printable(text) + "\nTry '" + kProgram + " help" +
                                    (isWhole ? "" : " " + command.get_name()) + "'."};
}

NoRequest noSuchCommand(const std::vector<std::string>& words, const CLI::App& app) {
  return badUsage(words.empty()
                      ? "a command is needed: plan, evaluate, run, check, facts, what-if or help"
                      : "no such command: " + words.front(),
                  app);
}

/// What `help actions` prints.
NoRequest helpOnActions(const Options& options) {
  if (options.helpForm != "text") {
    return {ExitStatus::success,
            options.helpForm == "schema" ? actionFileSchema() : actionsAsMarkdown()};
  }
  if (options.helpAction.empty()) {
    return {ExitStatus::success, listOfActions()};
  }
  const vexlo::KnownActionRow* const row = vexlo::findKnownAction(options.helpAction);
  return row != nullptr
             ? NoRequest{ExitStatus::success, explanationOf(*row)}
             : NoRequest{ExitStatus::badUsage, printable("no such action: " + options.helpAction) +
                                                   "\nTry 'vexlo-patch help actions'."};
}

/// The command on the command line; the program itself if there is none.
const CLI::App& chosenCommand(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? app : *chosen.front();
}

/// Arguments that nothing takes.
std::string unexpected(const std::vector<std::string>& arguments) {
  std::string text = arguments.size() == 1 ? "unexpected argument:" : "unexpected arguments:";
  for (const std::string& argument : arguments) {
    text += ' ' + argument;
  }
  return text;
}

/// The name of the option that is given too often; empty if none is.
std::string repeatedOption(const CLI::App& command) {
  const auto repeated = command.get_options([](const CLI::Option* option) {
    return option->get_multi_option_policy() == CLI::MultiOptionPolicy::Throw &&
           option->get_items_expected_max() == 1 && option->count() > 1;
  });
  return repeated.empty() ? "" : repeated.front()->get_name();
}

/// Why the arguments can't be used, in words that don't depend on the parser's version.
std::string messageFor(const CLI::ParseError& error, const CLI::App& app) {
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    return unexpected(app.remaining(/*recurse=*/true));
  }
  const std::string repeated = repeatedOption(chosenCommand(app));
  return repeated.empty() ? error.what() : repeated + " may be given only once";
}

/// The arguments, with `--option=` split into the option and an empty value. Otherwise the parser
/// would use the next argument as the value.
std::vector<std::string> withEmptyValuesApart(std::span<const char* const> line) {
  std::vector<std::string> words(line.begin(), line.end());
  for (std::size_t at = 0; at < words.size() && words[at] != "--"; ++at) {
    if (words[at].starts_with("--") && words[at].find('=') == words[at].size() - 1) {
      words[at].pop_back();
      words.emplace(std::next(words.begin(), static_cast<std::ptrdiff_t>(at) + 1));
    }
  }
  return words;
}

std::optional<LogCore::LogLevel> levelNamed(std::string_view name) {
  if (name == "debug") {
    return LogCore::LogLevel::debug;
  }
  if (name == "info") {
    return LogCore::LogLevel::info;
  }
  if (name == "error") {
    return LogCore::LogLevel::error;
  }
  return std::nullopt;
}

/// Absolute, for programs with another working directory, and without a trailing slash. Unchanged
/// if that fails (an empty path, a deleted working directory).
std::string absolutePath(const std::string& path) {
  std::error_code error;
  std::string absolute = std::filesystem::absolute(path, error).string();
  if (error) {
    return path;
  }
  while (absolute.size() > 1 && absolute.ends_with('/')) {
    absolute.pop_back();
  }
  return absolute;
}

/// The directory's own option, else its default below the agent root, else absent.
std::optional<std::string> directory(const std::optional<std::string>& own, const Options& options,
                                     const char* belowRoot) {
  if (own) {
    return absolutePath(*own);
  }
  return options.agentRoot ? std::optional(absolutePath(*options.agentRoot) + belowRoot)
                           : std::nullopt;
}

/// One of the agent's directories.
struct AgentDirectory {
  const std::optional<std::string>& path;
  const std::optional<std::string>& option;  ///< As given; absent when below the agent root.
  const char* optionName;
  bool isNeeded;
  bool mustExist;  ///< Even below the root; the others may not exist yet after installation.
};

/// Why the command can't use the directory; empty when it can.
std::string problemWith(const AgentDirectory& directory) {
  if (!directory.path) {
    return directory.isNeeded ? std::string("no agent directory: give --agent-root DIR (or set ") +
                                    kAgentRootVariable + "), or " + directory.optionName + " DIR"
                              : "";
  }
  std::error_code error;
  if ((!directory.option && !directory.mustExist) ||
      std::filesystem::is_directory(*directory.path, error)) {
    return {};
  }
  const bool isMissing = !error || error == std::errc::no_such_file_or_directory;
  return (isMissing ? "no such directory: "
                    : "can't use the directory: " + error.message() + ": ") +
         '"' + *directory.path + "\" (from " +
         (directory.option ? directory.optionName
                           : std::string("--agent-root or ") + kAgentRootVariable) +
         ")";
}

std::expected<AgentSettings, NoRequest> agentSettings(const Options& options,
                                                      const CLI::App& command) {
  const bool isRun = command.get_name() == "run";
  const bool isFacts = command.get_name() == "facts";
  const bool isEvaluate = command.get_name() == "evaluate";
  const char* const defaultLevel = isRun ? "info" : isFacts || isEvaluate ? "none" : "error";
  AgentSettings settings{.directories = {.base = directory(options.baseDirectory, options, ""),
                                         .data = directory(options.dataDirectory, options, "/data"),
                                         .logs = directory(options.logDirectory, options, "/logs")},
                         .minimumLevel = levelNamed(options.logLevel.value_or(defaultLevel)),
                         .logFile = options.logFile};
  if (options.machine != "auto") {
    settings.isAppleSilicon = options.machine == "apple-silicon";
  }
  const auto& [base, data, logs] = settings.directories;
  for (const AgentDirectory& each :
       {AgentDirectory{base, options.baseDirectory, "--base-dir", !isFacts, true},
        AgentDirectory{data, options.dataDirectory, "--data-dir",
                       isRun || (isEvaluate && !options.evaluate.factsFile), false},
        AgentDirectory{logs, options.logDirectory, "--log-dir", isRun, false}}) {
    if (const std::string problem = problemWith(each); !problem.empty()) {
      return std::unexpected(badUsage(problem, command));
    }
  }
  return settings;
}

std::expected<Request, NoRequest> whatIfRequest(const CLI::App& command, Options& options) {
  WhatIfRequest& request = options.whatIf;
  const auto isGiven = [&](const char* option) { return command.get_option(option)->count() > 0; };
  if (options.mergesSummaries) {
    for (const char* other : {"--patch", "--product", "--service-pack", "--strict", "--compare",
                              "--summary", "--summary-file"}) {
      if (isGiven(other)) {
        return std::unexpected(badUsage(std::string("--merge excludes ") + other, command));
      }
    }
    if (!isGiven("ACTIONS")) {
      return std::unexpected(badUsage("a summary is required (- for standard input)", command));
    }
    MergeRequest merge{.summaryFiles = std::move(request.factsFiles), .json = request.json};
    merge.summaryFiles.insert(merge.summaryFiles.begin(), std::move(request.actionFile));
    return merge;
  }
  for (const char* needed : {"ACTIONS", "--patch", "--product", "--service-pack"}) {
    if (!isGiven(needed)) {
      return std::unexpected(badUsage(std::string(needed) + " is required", command));
    }
  }
  if (request.json && !request.summaryOnly) {
    return std::unexpected(badUsage("--json needs --summary or --merge", command));
  }
  if (request.factsFiles.empty()) {
    request.factsFiles.emplace_back("-");
  }
  request.patch = vexlo::PatchIdentifier(options.patchID, options.productID, options.servicePackID);
  return std::move(request);
}

NoRequest help(const CLI::App& app, const Options& options) {
  if (options.helpTopic.empty()) {
    return helpOn(app);
  }
  if (options.helpTopic == "actions") {
    return helpOnActions(options);
  }
  const auto topics = app.get_subcommands(
      [&](const CLI::App* each) { return each->get_name() == options.helpTopic; });
  return topics.empty() ? noSuchCommand({options.helpTopic}, app) : helpOn(*topics.front());
}

std::expected<Request, NoRequest> request(const CLI::App& app, Options& options) {
  const CLI::App& command = *app.get_subcommands().front();
  const std::string name = command.get_name();
  const vexlo::PatchIdentifier patch(options.patchID, options.productID, options.servicePackID);
  if (name == "help") {
    return std::unexpected(help(app, options));
  }
  if (name == "check") {
    return std::move(options.check);
  }
  if (name == "what-if") {
    return whatIfRequest(command, options);
  }
  // Another command's default may have overwritten it.
  if (const CLI::Option& root = *command.get_option("--agent-root"); root.count() > 0) {
    options.agentRoot = root.as<std::string>();
  }
  auto agent = agentSettings(options, command);
  if (!agent) {
    return std::unexpected(std::move(agent).error());
  }
  const auto finished = [&](auto& request) -> Request {
    request.agent = *std::move(agent);
    if constexpr (requires { request.patch; }) {
      request.patch = patch;
    }
    return std::move(request);
  };
  return name == "plan"       ? finished(options.plan)
         : name == "evaluate" ? finished(options.evaluate)
         : name == "run"      ? finished(options.run)
                              : finished(options.facts);
}

}  // namespace

void withDefinition(const std::function<void(const CLI::App&)>& read) {
  CLI::App app(kDescription, kProgram);
  Options options;
  define(app, options);
  read(app);
}

std::expected<Request, NoRequest> readCommandLine(int argc, const char* const* argv) {
  const std::vector<std::string> words =
      withEmptyValuesApart({argv, static_cast<std::size_t>(argc)});
  CLI::App app(kDescription, kProgram);
  Options options;
  define(app, options);
  try {
    // The parser expects the arguments in reverse order, without the program's name.
    app.parse(std::vector<std::string>(words.rbegin(), std::prev(words.rend())));
    return request(app, options);
  } catch (const CLI::CallForVersion&) {
    return std::unexpected(NoRequest{ExitStatus::success, versionText() + "\n"});
  } catch (const CLI::Success&) {
    return std::unexpected(helpOn(chosenCommand(app)));
  } catch (const CLI::RequiredError& error) {
    return std::unexpected(app.get_subcommands().empty()
                               ? noSuchCommand(app.remaining(), app)
                               : badUsage(error.what(), chosenCommand(app)));
  } catch (const CLI::ParseError& error) {
    return std::unexpected(badUsage(messageFor(error, app), chosenCommand(app)));
  }
}

}  // namespace agent_tool
