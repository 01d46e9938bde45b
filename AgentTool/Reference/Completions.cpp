#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "AgentTool/Reference/CommandLineText.h"
#include "Platform/Text.h"

namespace agent_tool::reference {
namespace {

constexpr std::string_view kOrigin =
    "# Generated from the command line's definition by ./dev generate.\n";

/// The labels of values that are files.
constexpr std::array<std::string_view, 4> kFileLabels{"FILE", "ACTIONS", "FACTS", "SUMMARY"};

/// `text` with a backslash before each of `special`.
std::string escaped(std::string_view text, std::string_view special) {
  std::string out;
  for (const char letter : text) {
    out += special.contains(letter) ? "\\" : "";
    out += letter;
  }
  return out;
}

/// `text` in single quotes for a shell.
std::string singleQuoted(std::string_view text) {
  std::string out = "'";
  for (const char letter : text) {
    out += letter == '\'' ? "'\\''" : std::string(1, letter);
  }
  return out + "'";
}

bool isDirectory(const OptionText& option) { return option.type == "DIR"; }
bool isFile(const OptionText& option) {
  const std::string& label = option.isPositional ? option.names.front() : option.type;
  return std::ranges::find(kFileLabels, label) != kFileLabels.end();
}
/// The second argument of `help actions`.
bool isActionToExplain(const OptionText& option) {
  return option.isPositional && option.names.front() == "ACTION";
}
bool takesValue(const OptionText& option) { return !option.isPositional && !option.type.empty(); }

/// The allowed values, separated by spaces; empty if any value is allowed.
std::string words(const ProgramText& program, const OptionText& option) {
  std::vector<std::string> names = option.choices;
  if (option.isPositional && option.names.front() == "COMMAND") {
    std::ranges::transform(program.commands, std::back_inserter(names), &CommandText::name);
    names.emplace_back("actions");  // also a help topic
  }
  return platform::joined(names, " ");
}

std::string flags(const std::vector<OptionText>& options) {
  std::vector<std::string> names;
  for (const OptionText& option : options) {
    if (!option.isPositional) {
      names.insert(names.end(), option.names.begin(), option.names.end());
    }
  }
  return platform::joined(names, " ");
}

/// Bash's completions for the option's value or the positional argument.
std::string bashOffer(const ProgramText& program, const OptionText& option) {
  return isDirectory(option) ? "kind=-d"
         : isFile(option)    ? "kind=-f"
                             : "words=" + singleQuoted(words(program, option));
}

std::string zshValue(const ProgramText& program, const OptionText& option) {
  const std::string some = words(program, option);
  return isDirectory(option) ? "_directories"
         : isFile(option)    ? "_files"
         : some.empty()      ? " "
                             : "(" + some + ")";
}

std::string zshOption(const ProgramText& program, const OptionText& option) {
  if (option.isPositional) {
    return singleQuoted((option.mayRepeat ? "*:" : ":") + option.names.front() + ":" +
                        zshValue(program, option));
  }
  const std::string description =
      "[" + escaped(option.description, "[]:\\") + "]" +
      (takesValue(option) ? ":" + option.type + ":" + zshValue(program, option) : "");
  const std::string once = option.mayRepeat ? "*" : "";
  if (option.names.size() == 1) {
    return singleQuoted(once + option.names.front() + description);
  }
  return singleQuoted("(" + platform::joined(option.names, " ") + ")") + "{" +
         platform::joined(option.names, ",") + "}" + singleQuoted(description);
}

std::string zshArguments(const ProgramText& program, const std::vector<OptionText>& options,
                         std::string_view indent) {
  std::string out;
  for (const OptionText& option : options) {
    out += " \\\n" + std::string(indent) + zshOption(program, option);
  }
  return out;
}

std::string fishOption(const ProgramText& program, const OptionText& option,
                       std::string_view condition) {
  std::string out = "complete -c " + program.name + " -n " + singleQuoted(condition);
  const std::string some = words(program, option);
  if (!option.isPositional) {
    for (const std::string& name : option.names) {
      out += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
  }
  if (isFile(option)) {
    out += " -r -F";
  } else if (isDirectory(option)) {
    out += " -x -a '(__fish_complete_directories)'";
  } else if (!some.empty()) {
    out += (option.isPositional ? " -a " : " -x -a ") + singleQuoted(some);
  } else if (takesValue(option)) {
    out += " -x";
  } else if (option.isPositional) {
    return "";
  }
  return out + " -d " + singleQuoted(option.description) + "\n";
}

}  // namespace

std::string bashCompletion(const ProgramText& program) {
  std::vector<std::string> names;
  std::map<std::string, std::vector<std::string>> values;  // the same for options of one name
  std::string perCommand;
  for (const CommandText& command : program.commands) {
    names.push_back(command.name);
    std::string positional;
    for (const OptionText& option : command.options) {
      if (isActionToExplain(option)) {
        positional += "; [[ $previous != actions ]] || " + bashOffer(program, option);
      } else if (option.isPositional) {
        positional = " " + bashOffer(program, option);
      } else if (takesValue(option)) {
        auto& some = values[bashOffer(program, option)];
        for (const std::string& name : option.names) {
          if (std::ranges::find(some, name) == some.end()) {
            some.push_back(name);
          }
        }
      }
    }
    perCommand += "    " + command.name + ") flags=" + singleQuoted(flags(command.options)) +
                  positional + " ;;\n";
  }
  std::string perValue;
  for (const auto& [offer, some] : values) {
    perValue +=
        "    " + platform::joined(some, " | ") + ") flags='' words='' kind='' " + offer + " ;;\n";
  }
  return std::string(kOrigin) + R"(_vexlo_patch() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' flags='' words='' kind='' word
  if [[ $current == '=' ]]; then
    current=''
  elif [[ $previous == '=' ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word != -* ]]; then
      command=$word
      break
    fi
  done
  case $command in
    '') flags=)" +
         singleQuoted(flags(program.options)) +
         " words=" + singleQuoted(platform::joined(names, " ")) + " ;;\n" + perCommand + R"(  esac
  case $previous in
)" + perValue +
         R"(  esac
  if [[ $current == -* ]]; then
    words=$flags kind=''
  fi
  COMPREPLY=()
  while IFS= read -r word; do
    COMPREPLY+=("$word")
  done < <(compgen ${kind:+"$kind"} -W "$words" -- "$current")
}
complete -o filenames -F _vexlo_patch )" +
         program.name + "\n";
}

std::string zshCompletion(const ProgramText& program) {
  std::string names;
  std::string perCommand;
  for (const CommandText& command : program.commands) {
    names +=
        "        " + singleQuoted(command.name + ":" + escaped(command.description, ":\\")) + "\n";
    perCommand += "        " + command.name + ")\n          _arguments" +
                  zshArguments(program, command.options, "            ") + "\n          ;;\n";
  }
  return "#compdef " + program.name + "\n" + std::string(kOrigin) + R"(_vexlo_patch() {
  local context state line
  typeset -A opt_args
  _arguments -C)" +
         zshArguments(program, program.options, "    ") +
         R"( \
    '1:command:->command' \
    '*::argument:->argument'
  case $state in
    command)
      local -a commands=(
)" + names +
         R"(      )
      _describe command commands
      ;;
    argument)
      case $words[1] in
)" + perCommand +
         R"(      esac
      ;;
  esac
}
_vexlo_patch "$@"
)";
}

std::string fishCompletion(const ProgramText& program) {
  std::string out = std::string(kOrigin) + "complete -c " + program.name + " -f\n";
  for (const OptionText& option : program.options) {
    out += fishOption(program, option, "__fish_use_subcommand");
  }
  for (const CommandText& command : program.commands) {
    out += "complete -c " + program.name + " -n __fish_use_subcommand -a " + command.name + " -d " +
           singleQuoted(command.description) + "\n";
  }
  for (const CommandText& command : program.commands) {
    for (const OptionText& option : command.options) {
      std::string condition = "__fish_seen_subcommand_from " + command.name;
      if (isActionToExplain(option)) {
        condition += "; and __fish_seen_subcommand_from actions";
      }
      out += fishOption(program, option, condition);
    }
  }
  return out;
}

}  // namespace agent_tool::reference
