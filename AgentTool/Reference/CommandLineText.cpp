#include "AgentTool/Reference/CommandLineText.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>
#include <utility>

#include "AgentTool/Commands/BuildVersion.h"
#include "AgentTool/Commands/CommandLine.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool::reference {
namespace {

/// The words of "auto|apple-silicon|intel"; all action codes and names for "CODE|NAME" and
/// "ACTION".
std::vector<std::string> choicesOf(const std::string& type) {
  std::vector<std::string> choices;
  if (type == "CODE|NAME" || type == "ACTION") {
    for (const auto& row : vexlo::knownActions()) {
      choices.emplace_back(row.code);
      choices.emplace_back(row.name);
    }
  } else if (type.contains('|') && std::ranges::none_of(type, [](unsigned char letter) {
               return std::isupper(letter) != 0;
             })) {
    std::istringstream words(type);
    for (std::string word; std::getline(words, word, '|');) {
      choices.push_back(word);
    }
  }
  return choices;
}

OptionText optionText(const CLI::Option& option) {
  OptionText text{.description = option.get_description(),
                  .environment = option.get_envname(),
                  .isRequired = option.get_required(),
                  .mayRepeat = option.get_items_expected_max() > 1 ||
                               option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll};
  if (option.nonpositional()) {
    for (const std::string& name : option.get_snames()) {
      text.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
      text.names.push_back("--" + name);
    }
    text.type = option.get_items_expected_max() == 0 ? "" : option.get_type_name();
    text.choices = choicesOf(text.type);
  } else {
    text.names.push_back(option.get_name(true));
    text.choices = choicesOf(text.names.front());
    text.isPositional = true;
  }
  return text;
}

std::vector<OptionText> optionTexts(const CLI::App& app) {
  std::vector<OptionText> texts;
  for (const CLI::Option* const option : app.get_options()) {
    if (!option->get_group().empty()) {  // hidden options have no group
      texts.push_back(optionText(*option));
    }
  }
  return texts;
}

}  // namespace

ProgramText programText() {
  ProgramText program{.version = std::string(kFullVersion)};
  withDefinition([&](const CLI::App& app) {
    program.name = app.get_name();
    program.description = app.get_description();
    program.options = optionTexts(app);
    for (const CLI::App* const command :
         app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
      std::string footer = command->get_footer();
      footer.erase(0, footer.find_first_not_of('\n'));
      program.commands.push_back({.name = command->get_name(),
                                  .description = command->get_description(),
                                  .options = optionTexts(*command),
                                  .footer = std::move(footer)});
    }
  });
  return program;
}

}  // namespace agent_tool::reference
