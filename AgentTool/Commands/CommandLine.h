// Reads the command line.
#pragma once
#include <functional>

#include "AgentTool/Console/Console.h"

namespace CLI {
class App;
}  // namespace CLI

namespace agent_tool {

/// What a command line asks for: a command with its request, help, or for an unusable command line
/// the report of its error.
using Command = std::function<ExitStatus(Console& console)>;

[[nodiscard]] Command readCommandLine(int argc, const char* const* argv);

/// Calls `read` with the definition of the command line, for generating its reference.
void withDefinition(const std::function<void(const CLI::App&)>& read);

}  // namespace agent_tool
