#include "AgentTool/Commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFiles/ActionReference.h"
#include "AgentTool/Commands/BuildVersion.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Commands/HelpText.h"
#include "AgentTool/Console/PrintableText.h"
#include "Platform/Text.h"

namespace agent_tool {
namespace {

using LogCore::text;

constexpr const char* kDescription =
    "Plans, runs and checks the actions of a patch, as the agent would.";
constexpr const char* kAgentRootVariable = "VEXLO_AGENT_ROOT";

using OptionalLevel = std::optional<LogCore::LogLevel>;

struct HelpRequest {
  std::string topic;  ///< Empty: the program.
  std::string action;
  std::string (*otherForm)() = nullptr;  ///< Of all actions; null for text.
};

template <typename Value>
CLI::Option* addOption(CLI::App& command, const char* name, Value& value, const char* type,
                       const char* what) {
  return command.add_option(name, value, what)->type_name(type);
}

void addPatch(CLI::App& command, PatchRequest& request, bool isRequired = true) {
  for (CLI::Option* const option :
       {addOption(command, "--patch", request.patchID, "ID", "the patch"),
        addOption(command, "--product", request.productID, "ID", "its product"),
        addOption(command, "--service-pack", request.servicePackID, "ID",
                  "the product's service pack")}) {
    option->required(isRequired)->group(kPatchGroup);
  }
}

void addStrict(CLI::App& command, PatchRequest& request) {
  command.add_flag("--strict", request.strict,
                   "fail with status 64 if the file has no such patch, product or service pack");
}

template <typename Value>
using Choices = std::vector<std::pair<std::string, Value>>;

/// Adds an option that sets `value` to the one of `choices` with that name.
template <typename Value>
void addChoice(CLI::App& command, const char* option, const std::string& what,
               const Choices<Value>& choices, Value& value) {
  constexpr auto kName = &Choices<Value>::value_type::first;
  const auto choose = [choices, &value](const std::string& name) {
    value = std::ranges::find(choices, name, kName)->second;
  };
  command.add_option_function<std::string>(option, choose, what)
      ->type_name(platform::joined(choices, "|", kName))
      ->check(CLI::IsMember(choices).description(""));
}

/// Rejects an empty value: an empty variable in a script must not select everything.
auto notEmpty(const char* problem) {
  return [problem](const std::string& value) { return value.empty() ? problem : ""; };
}

/// Adds an option with one value for each time that it is given.
void addRepeatable(CLI::App& command, const char* name, std::vector<std::string>& values,
                   const char* type, const char* what, const char* ifEmpty) {
  addOption(command, name, values, type, what)
      ->expected(1)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(notEmpty(ifEmpty));
}

void addQuestions(CLI::App& command, FactsExtent& extent, const char* whatAgent) {
  command.add_flag("--ask-apple", extent.appleServers,
                   "ask Apple's servers about updates (softwareupdate --list, mdmclient)");
  command.add_flag("--ask-agent", extent.credentials, whatAgent);
}

void addBase(CLI::App& command, AgentSettings& agent, const char* whatRootIs) {
  command.option_defaults()->group(kAgentGroup);
  addOption(command, "--agent-root", agent.root, "DIR", whatRootIs)->envname(kAgentRootVariable);
  addOption(command, "--base-dir", agent.directories.base, "DIR", "the agent's base directory");
}

void addLog(CLI::App& command, AgentSettings& agent, OptionalLevel defaultLevel) {
  using enum LogCore::LogLevel;
  agent.minimumLevel = defaultLevel;
  addChoice<OptionalLevel>(
      command, "--log-level",
      text("the lowest level to log (default: ", defaultLevel ? nameOf(*defaultLevel) : "none",
           ")"),
      {{"debug", debug}, {"info", info}, {"error", error}, {"none", {}}}, agent.minimumLevel);
  addOption(command, "--log-file", agent.logFile, "FILE",
            "append log lines to FILE instead of standard error");
}

/// Adds all settings, for commands that read the machine's state.
void addAgent(CLI::App& command, AgentSettings& agent, OptionalLevel defaultLevel) {
  addBase(command, agent, "base = DIR, data = DIR/data, logs = DIR/logs");
  addOption(command, "--data-dir", agent.directories.data, "DIR", "the agent's data directory");
  addOption(command, "--log-dir", agent.directories.logs, "DIR", "the agent's log directory");
  addChoice<std::optional<bool>>(command, "--machine", "the processor type (auto: detect it)",
                                 {{"auto", {}}, {"apple-silicon", true}, {"intel", false}},
                                 agent.isAppleSilicon);
  addLog(command, agent, defaultLevel);
}

/// Lists the exit statuses: the command's own and those that all commands have. `unusable` explains
/// 65, if it can occur.
void setFooter(CLI::App& command, const std::string& exitStatus, const std::string& unusable = "") {
  command.footer("\nExit status:\n" + exitStatus + "\n  64  bad usage\n" +
                 (unusable.empty() ? "" : "  65  " + unusable + "\n") + "  71  not enough memory");
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

/// Completes the agent's directories from its root and checks them. Throws if one that is `needed`,
/// named by its option, is not given.
void locateDirectories(AgentSettings& agent, const std::vector<std::string_view>& needed) {
  struct Row {
    std::optional<std::string>& directory;
    std::string_view option;
    const char* belowRoot;
  };
  auto& [base, data, logs] = agent.directories;
  for (const auto& [directory, option, belowRoot] :
       {Row{base, "--base-dir", ""}, Row{data, "--data-dir", "/data"},
        Row{logs, "--log-dir", "/logs"}}) {
    const bool isGiven = directory.has_value();
    if (isGiven || agent.root) {
      directory = isGiven ? absolutePath(*directory) : absolutePath(*agent.root) + belowRoot;
    } else if (std::ranges::find(needed, option) != needed.end()) {
      throw CLI::ValidationError(text("no agent directory: give --agent-root DIR (or set ",
                                      kAgentRootVariable, "), or ", option, " DIR"));
    }
    // After the installation, directories below the root may not exist yet.
    std::error_code error;
    if (!directory || (!isGiven && &directory != &base) ||
        std::filesystem::is_directory(*directory, error)) {
      continue;
    }
    const bool isMissing = !error || error == std::errc::no_such_file_or_directory;
    throw CLI::ValidationError(
        text(isMissing ? "no such directory: "
                       : text("can't use the directory: ", error.message(), ": "),
             '"', *directory, "\" (from ",
             isGiven ? option : text("--agent-root or ", kAgentRootVariable), ')'));
  }
}

void addPlan(CLI::App& app, Command& chosen) {
  CLI::App& command = *app.add_subcommand(
      "plan", "Shows the applicable actions in order, and where each comes from.");
  const auto request = std::make_shared<PlanRequest>();
  addPatch(command, *request);
  addStrict(command, *request);
  command.add_flag("--json", request->json, "print one JSON object instead of a table");
  addBase(command, request->agent, "base = DIR");
  addLog(command, request->agent, LogCore::LogLevel::error);
  setFooter(command, "  0   the plan was printed", "the action file can't be used");
  command.callback([request, &chosen] {
    locateDirectories(request->agent, {"--base-dir"});
    chosen = std::bind_front(plan, *request);
  });
}

void addEvaluate(CLI::App& app, Command& chosen) {
  CLI::App& command =
      *app.add_subcommand("evaluate", "Predicts each action's result without changing anything.");
  const auto request = std::make_shared<EvaluateRequest>();
  addPatch(command, *request);
  CLI::Option* const factsFile = addOption(
      command, "--facts", request->factsFile, "FILE",
      "evaluate the machine that printed this line of 'facts --json' (- for standard input)");
  addQuestions(command, request->extent, "ask the agent's service whether credentials are stored");
  addStrict(command, *request);
  command.add_flag("--json", request->json, "print one JSON object instead of a table");
  addAgent(command, request->agent, std::nullopt);
  for (const char* const aboutThisMachine : {"--ask-apple", "--ask-agent", "--machine"}) {
    command.get_option(aboutThisMachine)->excludes(factsFile);
  }
  setFooter(
      command,
      "  0   no action would stop the patch\n"
      "  75  an action would stop it until later, or depends on something that was not asked\n"
      "  1   an action would fail",
      "the action file or the facts can't be used");
  command.callback([request, &chosen] {
    locateDirectories(request->agent, {"--base-dir", request->factsFile ? "" : "--data-dir"});
    chosen = std::bind_front(evaluate, *request);
  });
}

void addRun(CLI::App& app, Command& chosen) {
  CLI::App& command = *app.add_subcommand("run", "Runs the actions in order, as the agent would.");
  const auto request = std::make_shared<RunRequest>();
  addPatch(command, *request);
  addRepeatable(command, "--action", request->actionCodes, "CODE|NAME",
                "run only this action; may be repeated. An action that doesn't apply passes",
                "a code or name is needed");
  command.add_flag("--keep-going", request->keepGoing,
                   "continue after an action that doesn't succeed");
  command.add_flag("--explain", request->explain,
                   "show the log lines of actions that don't succeed");
  addStrict(command, *request);
  command.add_flag("--json", request->json, "print one JSON object per line, as each action ends");
  addAgent(command, request->agent, LogCore::LogLevel::info);
  setFooter(command,
            "  0   all actions passed\n"
            "  75  an action has to be applied later\n"
            "  1   an action failed",
            "the action file can't be used");
  command.callback([request, &chosen] {
    locateDirectories(request->agent, {"--base-dir", "--data-dir", "--log-dir"});
    chosen = std::bind_front(run, *request);
  });
}

void addCheck(CLI::App& app, Command& chosen) {
  CLI::App& command = *app.add_subcommand(
      "check", "Finds errors in action files, gives warnings, and shows where they are.");
  const auto request = std::make_shared<CheckRequest>();
  addOption(command, "FILE", request->files, "", "the action files (- for standard input)")
      ->required();
  command.add_flag("--strict", request->strict, "exit with 1 if there is a warning");
  command.add_flag("--json", request->json,
                   "print one JSON object per file, each on one line, instead of text");
  setFooter(command,
            "  0   the files can be used\n"
            "  1   with --strict: there is a warning",
            "a file can't be used");
  command.callback([request, &chosen] { chosen = std::bind_front(check, *request); });
}

void addFacts(CLI::App& app, Command& chosen) {
  CLI::App& command =
      *app.add_subcommand("facts", "Shows what the library sees on this machine; changes nothing.");
  const auto request = std::make_shared<FactsRequest>();
  addRepeatable(command, "--application", request->extent.applications, "BUNDLE-ID",
                "show the running instances of this application; may be repeated",
                "a bundle identifier is needed");
  command.add_flag("--all-applications", request->extent.allApplications,
                   "show all running applications that have a bundle identifier");
  addQuestions(command, request->extent,
               "ask the agent's service whether credentials are stored (up to 20 seconds)");
  addOption(command, "--name", request->name, "NAME", "the machine's name, for what-if")
      ->check(notEmpty("a name is needed"));
  command.add_flag("--json", request->json, "print one JSON object on one line instead of a table");
  addAgent(command, request->agent, std::nullopt);
  setFooter(command, "  0   the facts were printed; unreadable ones are absent, with the reason");
  command.callback([request, &chosen] {
    locateDirectories(request->agent, {});
    chosen = std::bind_front(facts, *request);
  });
}

/// Throws if the options don't suit each other. With `--merge`, the files are summaries.
Command whatIfCommand(const CLI::App& command, WhatIfRequest& request) {
  const auto isGiven = [&](const char* option) { return command.get_option(option)->count() > 0; };
  if (isGiven("--merge")) {
    for (const char* other : {"--patch", "--product", "--service-pack", "--strict", "--compare",
                              "--summary", "--summary-file"}) {
      if (isGiven(other)) {
        throw CLI::ExcludesError("--merge", other);
      }
    }
    if (!isGiven("ACTIONS")) {
      throw CLI::ValidationError("a summary is required (- for standard input)");
    }
    request.factsFiles.insert(request.factsFiles.begin(), request.actionFile);
    return std::bind_front(mergeSummaries,
                           MergeRequest{.summaryFiles = request.factsFiles, .json = request.json});
  }
  for (const char* needed : {"ACTIONS", "--patch", "--product", "--service-pack"}) {
    if (!isGiven(needed)) {
      throw CLI::RequiredError(needed);
    }
  }
  if (request.json && !request.summaryOnly) {
    throw CLI::ValidationError("--json needs --summary or --merge");
  }
  if (request.factsFiles.empty()) {
    request.factsFiles.emplace_back("-");
  }
  return std::bind_front(whatIf, request);
}

void addWhatIf(CLI::App& app, Command& chosen) {
  CLI::App& command = *app.add_subcommand(
      "what-if", "Predicts a patch's result on each machine of a fleet, one line per machine.");
  const auto request = std::make_shared<WhatIfRequest>();
  addOption(command, "ACTIONS", request->actionFile, "", "the action file");
  addOption(command, "FACTS", request->factsFiles, "",
            "files with a line of 'facts --json' per machine (default: -, standard input)");
  addPatch(command, *request, /*isRequired=*/false);
  addStrict(command, *request);
  addOption(command, "--compare", request->compareWith, "ACTIONS",
            "show only machines whose result differs with this action file");
  command.add_flag("--summary", request->summaryOnly, "print only the summary, as a table");
  addOption(command, "--summary-file", request->summaryFile, "FILE",
            "write the summary to FILE as JSON, instead of a table to standard error");
  command.add_flag("--merge")->description(
      "the files are summaries, one per line: merge them and print the result. Only "
      "with --json");
  command.add_flag("--json", request->json,
                   "with --summary or --merge: print one JSON object on one line");
  setFooter(command,
            "  0   every line was evaluated\n"
            "  1   a file of facts can't be read\n"
            "  2   invalid lines were skipped and reported on standard error",
            "an action file or a summary can't be used");
  command.callback([request, &chosen, &command] { chosen = whatIfCommand(command, *request); });
}

Command print(std::string text) {
  return [text = std::move(text)](Console& console) {
    console.write(text);
    return ExitStatus::success;
  };
}

/// `topic` is that of the help which explains the usage; empty for the program.
Command badUsage(std::string_view problem, const std::string& topic) {
  return [text = text(printable(problem), "\nTry '", kProgram, " help", topic.empty() ? "" : " ",
                      topic, "'.")](Console& console) {
    console.reportError(text);
    return ExitStatus::badUsage;
  };
}

Command noSuchCommand(const std::vector<std::string>& words) {
  return badUsage(words.empty()
                      ? "a command is needed: plan, evaluate, run, check, facts, what-if or help"
                      : "no such command: " + words.front(),
                  "");
}

Command helpOnActions(const HelpRequest& request) {
  if (request.otherForm != nullptr) {
    return print(request.otherForm());
  }
  if (request.action.empty()) {
    return print(listOfActions());
  }
  const vexlo::KnownActionRow* const row = vexlo::findKnownAction(request.action);
  return row != nullptr ? print(explanationOf(*row))
                        : badUsage("no such action: " + request.action, "actions");
}

Command help(const CLI::App& app, const HelpRequest& request) {
  if (request.topic == "actions") {
    return helpOnActions(request);
  }
  if (request.topic.empty()) {
    return print(helpText(app));
  }
  const auto topics =
      app.get_subcommands([&](const CLI::App* each) { return each->get_name() == request.topic; });
  return topics.empty() ? noSuchCommand({request.topic}) : print(helpText(*topics.front()));
}

void addHelp(CLI::App& app, Command& chosen) {
  CLI::App& command = *app.add_subcommand("help", "Explains a command or the actions.");
  const auto request = std::make_shared<HelpRequest>();
  addOption(command, "COMMAND", request->topic, "", "a command, or 'actions'");
  addOption(command, "ACTION", request->action, "", "after 'actions': the code or name of one");
  addChoice<std::string (*)()>(
      command, "--as",
      "with 'actions': print text, Markdown, or the JSON Schema of the action file",
      {{"text", nullptr}, {"markdown", actionsAsMarkdown}, {"schema", actionFileSchema}},
      request->otherForm);
  command.callback([request, &chosen, &app] { chosen = help(app, *request); });
}

void define(CLI::App& app, Command& chosen) {
  app.option_defaults()->group(kUsualGroup);
  app.set_help_flag("-h,--help", "show this help");
  app.set_version_flag("--version",
                       text("VexloPatchDeployment ", kFullVersion, " (commit ", kCommit, ")"),
                       "show the library's version and commit");
  app.require_subcommand(1);
  for (const auto add : {addPlan, addEvaluate, addRun, addCheck, addFacts, addWhatIf, addHelp}) {
    add(app, chosen);
  }
}

/// The command on the command line; the program itself if there is none.
const CLI::App& chosenCommand(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? app : *chosen.front();
}

/// Why the arguments can't be used, in words that don't depend on the parser's version.
std::string messageFor(const CLI::ParseError& error, const CLI::App& app) {
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    const std::vector<std::string> arguments = app.remaining(/*recurse=*/true);
    return text("unexpected argument", arguments.size() == 1 ? "" : "s", ": ",
                platform::joined(arguments, " "));
  }
  const auto repeated = chosenCommand(app).get_options([](const CLI::Option* option) {
    return option->get_multi_option_policy() == CLI::MultiOptionPolicy::Throw &&
           option->get_items_expected_max() == 1 && option->count() > 1;
  });
  return repeated.empty() ? error.what() : repeated.front()->get_name() + " may be given only once";
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

}  // namespace

void withDefinition(const std::function<void(const CLI::App&)>& read) {
  CLI::App app(kDescription, kProgram);
  Command chosen;
  define(app, chosen);
  read(app);
}

Command readCommandLine(int argc, const char* const* argv) {
  const std::vector<std::string> words =
      withEmptyValuesApart({argv, static_cast<std::size_t>(argc)});
  CLI::App app(kDescription, kProgram);
  Command chosen;
  define(app, chosen);
  const auto topic = [&] {
    const CLI::App& command = chosenCommand(app);
    return &command == &app ? "" : command.get_name();
  };
  try {
    // The parser expects the arguments in reverse order, without the program's name.
    app.parse(std::vector<std::string>(words.rbegin(), std::prev(words.rend())));
    return chosen;
  } catch (const CLI::CallForVersion& version) {
    return print(version.what() + std::string("\n"));
  } catch (const CLI::Success&) {
    return print(helpText(chosenCommand(app)));
  } catch (const CLI::RequiredError& error) {
    return app.get_subcommands().empty() ? noSuchCommand(app.remaining())
                                         : badUsage(error.what(), topic());
  } catch (const CLI::ParseError& error) {
    return badUsage(messageFor(error, app), topic());
  }
}

}  // namespace agent_tool
