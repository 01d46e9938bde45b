#include "AgentTool/Commands/HelpText.h"

#include <cstddef>
#include <string_view>

namespace agent_tool {
namespace {

constexpr std::size_t kDescriptionColumn = 30;

/// A name and, from a fixed column on, its description; on the next line if the name is too long.
std::string row(const std::string& name, const std::string& description) {
  std::string text = "  " + name;
  if (text.size() >= kDescriptionColumn) {
    return text + '\n' + std::string(kDescriptionColumn, ' ') + description + '\n';
  }
  text.resize(kDescriptionColumn, ' ');
  return text + description + '\n';
}

bool takesMany(const CLI::Option& option) {
  return option.get_expected_max() >= CLI::detail::expected_max_vector_size;
}

/// Such as «--facts FILE (not with: --ask-apple)».
std::string nameColumn(const CLI::Option& option, const CLI::App& app) {
  std::string name = option.get_positional() ? option.get_name(true) : option.get_name(false, true);
  if (option.get_type_size() != 0) {  // not a flag
    name += (option.get_type_name().empty() ? "" : " ") + option.get_type_name();
    name += takesMany(option) ? " ..." : "";
    name += option.get_required() ? " (required)" : "";
  }
  if (!option.get_envname().empty()) {
    name += " (Env:" + option.get_envname() + ")";
  }
  if (!option.get_excludes().empty()) {
    name += " (not with:";
    for (const CLI::Option* const other : app.get_options()) {  // in the order of definition
      if (option.get_excludes().contains(const_cast<CLI::Option*>(other))) {
        name += ' ' + other->get_name();
      }
    }
    name += ')';
  }
  return name;
}

/// The command line without options' names: «vexlo-patch check [OPTIONS] FILE...».
std::string usage(const CLI::App& app) {
  std::string line = kProgram;
  line += app.get_parent() == nullptr ? "" : " " + app.get_name();
  line += " [OPTIONS]";
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_positional()) {
      const std::string name = option->get_name(true) + (takesMany(*option) ? "..." : "");
      line += option->get_required() ? " " + name : " [" + name + "]";
    }
  }
  return line + (app.get_parent() == nullptr ? " COMMAND" : "");
}

}  // namespace

std::string helpText(const CLI::App& app) {
  std::string text = app.get_description() + "\nUsage: " + usage(app) + '\n';
  for (const std::string heading : {"Positionals", kUsualGroup, kPatchGroup, kAgentGroup}) {
    std::string rows;
    for (const CLI::Option* const option : app.get_options()) {
      if (heading == (option->get_positional() ? "Positionals" : option->get_group())) {
        rows += row(nameColumn(*option, app), option->get_description());
      }
    }
    if (!rows.empty()) {
      text.append("\n").append(heading).append(":\n").append(rows);
    }
  }
  if (app.get_parent() == nullptr) {
    text += "\nCommands:\n";
    for (const CLI::App* const command : app.get_subcommands({})) {
      text += row(command->get_name(), command->get_description());
    }
  }
  return text + (app.get_footer().empty() ? "" : app.get_footer() + '\n');
}

}  // namespace agent_tool
