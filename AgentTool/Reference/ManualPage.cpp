#include <algorithm>
#include <cctype>
#include <sstream>
#include <string>
#include <string_view>

#include "AgentTool/Reference/CommandLineText.h"

namespace agent_tool::reference {
namespace {

/// Escapes text for roff: hyphens stay hyphens, and no line becomes a request.
std::string roff(std::string_view text) {
  std::string out;
  for (const char letter : text) {
    if ((letter == '.' || letter == '\'') && (out.empty() || out.back() == '\n')) {
      out += "\\&";
    }
    out += letter == '\\' ? "\\e" : letter == '-' ? "\\-" : std::string(1, letter);
  }
  return out;
}

std::string capitals(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](unsigned char letter) { return std::toupper(letter); });
  return text;
}

std::string bold(std::string_view text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(std::string_view text) { return "\\fI" + roff(text) + "\\fR"; }

std::string optionItem(const OptionText& option) {
  std::string title;
  for (const std::string& name : option.names) {
    title += (title.empty() ? "" : ", ") + (option.isPositional ? italic(name) : bold(name));
  }
  title += option.type.empty() ? "" : " " + italic(option.type);
  std::string item = ".TP\n" + title + "\n" + roff(option.description);
  item += option.isRequired && !option.isPositional ? " (required)" : "";
  item += option.environment.empty() ? "" : "; default: " + bold("$" + option.environment);
  return item + "\n";
}

std::string synopsis(const ProgramText& program, const CommandText& command) {
  std::string line = ".B " + roff(program.name + " " + command.name) + "\n";
  for (const OptionText& option : command.options) {
    if (option.isRequired && !option.isPositional) {
      line += bold(option.names.back()) + " " + italic(option.type) + "\n";
    }
  }
  line += "[" + italic("OPTION") + "]...\n";
  for (const OptionText& option : command.options) {
    if (option.isPositional) {
      line += (option.isRequired ? "" : "[") + italic(option.names.front()) +
              (option.isRequired ? "" : "]") + (option.mayRepeat ? "..." : "") + "\n";
    }
  }
  return line + ".br\n";
}

/// The footer's statuses, one per line with its meaning.
std::string exitStatus(std::string_view footer) {
  std::string out;
  std::istringstream lines{std::string(footer)};
  for (std::string line; std::getline(lines, line);) {
    const std::size_t number = line.find_first_not_of(' ');
    if (number == 0) {
      out += ".PP\n" + roff(line) + "\n";
    } else if (number != std::string::npos) {
      const std::size_t end = line.find(' ', number);
      out += ".TP\n" + bold(line.substr(number, end - number)) + "\n" +
             roff(line.substr(std::min(line.find_first_not_of(' ', end), line.size()))) + "\n";
    }
  }
  return out;
}

/// What the command line's definition doesn't say.
constexpr std::string_view kClosing = R"(.SH ENVIRONMENT
.TP
\fBVEXLO_AGENT_ROOT\fR
the default of \fB\-\-agent\-root\fR
.TP
\fBNO_COLOR\fR
if set, the output has no colours; it has them only on a terminal
.SH FILES
.TP
\fIDIR\fR/client\-data/patch\-resources/mac\-patch\-actions.json
the action file, below the agent's base directory
.TP
\fIDIR\fR/data, \fIDIR\fR/logs
the agent's settings and prompt counts, and the answers to prompts
.TP
/usr/share/vexlo\-patch/action\-file.schema.json
a JSON Schema of the action file, for editors
.TP
/usr/share/doc/vexlo\-patch/docs
the documentation
.SH EXAMPLES
.nf
vexlo\-patch check \-\-strict mac\-patch\-actions.json
vexlo\-patch help actions 2005
vexlo\-patch evaluate \-\-patch 310990 \-\-product 1201 \-\-service\-pack 2301 \-\-agent\-root DIR
vexlo\-patch run \-\-patch 310990 \-\-product 1201 \-\-service\-pack 2301 \-\-agent\-root DIR \-\-json
vexlo\-patch facts \-\-json \-\-all\-applications \-\-agent\-root DIR >> fleet.ndjson
.fi
.SH SEE ALSO
.BR enter (1)
)";

}  // namespace

std::string manualPage(const ProgramText& program) {
  std::string page = ".\\\" Generated from the command line's definition by ./dev generate.\n.TH " +
                     roff(capitals(program.name)) + R"( 1 "" "VexloPatchDeployment )" +
                     program.version + "\"\n.nh\n.SH NAME\n" + roff(program.name) +
                     " \\- patch deployment from a command line\n.SH SYNOPSIS\n";
  for (const CommandText& command : program.commands) {
    page += synopsis(program, command);
  }
  page += ".SH DESCRIPTION\n" + roff(program.description) + "\n.SH OPTIONS\n";
  for (const OptionText& option : program.options) {
    page += optionItem(option);
  }
  page += ".SH COMMANDS\n";
  for (const CommandText& command : program.commands) {
    page += ".SS " + roff(command.name) + "\n" + roff(command.description) + "\n";
    for (const OptionText& option : command.options) {
      page += optionItem(option);
    }
    page += exitStatus(command.footer);
  }
  return page + std::string(kClosing);
}

}  // namespace agent_tool::reference
