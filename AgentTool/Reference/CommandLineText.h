// The command line's definition as data, for generating the manual page and completions.
#pragma once
#include <string>
#include <vector>

namespace agent_tool::reference {

struct OptionText {
  std::vector<std::string> names;    ///< "-h", "--help"; for a positional argument its label.
  std::string type;                  ///< "DIR"; empty for flags and positional arguments.
  std::vector<std::string> choices;  ///< The allowed values; empty if any value is allowed.
  std::string description;
  std::string environment;  ///< The variable that gives the default; may be empty.
  bool isPositional = false;
  bool isRequired = false;
  bool mayRepeat = false;
};

struct CommandText {
  std::string name;
  std::string description;
  std::vector<OptionText> options;
  std::string footer;  ///< "Exit status:" and one line per status.
};

struct ProgramText {
  std::string name;
  std::string version;
  std::string description;
  std::vector<OptionText> options;
  std::vector<CommandText> commands;
};

[[nodiscard]] ProgramText programText();

/// The manual page, in the macros of man(7).
[[nodiscard]] std::string manualPage(const ProgramText& program);
[[nodiscard]] std::string bashCompletion(const ProgramText& program);
[[nodiscard]] std::string zshCompletion(const ProgramText& program);
[[nodiscard]] std::string fishCompletion(const ProgramText& program);

}  // namespace agent_tool::reference
