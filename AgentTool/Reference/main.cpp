// command-line-reference commands|facts-schema|facts-table|measurements-table: prints what the
// documents are generated from: the definition of the command line as JSON, for
// tools/make-reference, the JSON Schema and the table of a line of facts, and the measurements.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentTool/ActionFiles/ActionReference.h"
#include "AgentTool/Commands/BuildVersion.h"
#include "AgentTool/Commands/CommandLine.h"
#include "AgentTool/Facts/Facts.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace {

using FileCodec::jsonArray;
using FileCodec::jsonList;
using FileCodec::JSONObject;

std::string asJSON(const CLI::Option& option) {
  const bool isPositional = !option.nonpositional();
  const bool hasType = !isPositional && option.get_items_expected_max() > 0;
  return JSONObject()
      .addString("names", option.get_name(false, true))  // "-h,--help"
      .addString("type", hasType ? option.get_type_name() : "")
      .addString("description", option.get_description())
      .addString("environment", option.get_envname())
      .addBoolean("isPositional", isPositional)
      .addBoolean("isRequired", option.get_required())
      .addBoolean("mayRepeat",
                  option.get_items_expected_max() > 1 ||
                      option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll)
      .done();
}

/// The program or one of its commands.
JSONObject asJSON(const CLI::App& app) {
  return JSONObject()
      .addString("name", app.get_name())
      .addString("description", app.get_description())
      .addString("footer", app.get_footer())
      .addJSON("options", jsonArray(app.get_options(),
                                    [](const CLI::Option* option) { return asJSON(*option); }));
}

std::string commandLine() {
  JSONObject program;
  std::vector<std::string_view> actions;  // their codes and names
  for (const auto& action : vexlo::knownActions()) {
    actions.insert(actions.end(), {action.code, action.name});
  }
  agent_tool::withDefinition([&](const CLI::App& app) {
    program = asJSON(app);
    program.addString("version", agent_tool::kFullVersion)
        .addJSON("actions", jsonList(actions))
        .addJSON("commands", jsonArray(app.get_subcommands({}), [](const CLI::App* command) {
                   return asJSON(*command).done();
                 }));
  });
  return program.done() + '\n';
}

}  // namespace

int main(int count, char** arguments) try {
  const std::map<std::string_view, std::string (*)()> texts{
      {"commands", commandLine},
      {"facts-schema", agent_tool::factsSchema},
      {"facts-table", agent_tool::factsAsMarkdown},
      {"measurements-table", agent_tool::measurementsAsMarkdown}};
  const auto text = texts.find(count == 2 ? arguments[1] : "");
  if (text == texts.end()) {
    std::cerr << "usage: command-line-reference "
                 "commands|facts-schema|facts-table|measurements-table\n";
    return 64;
  }
  return std::cout << text->second() << std::flush ? 0 : 1;
} catch (const std::exception& error) {
  std::cerr << "command-line-reference: " << error.what() << '\n';
  return 1;
}
