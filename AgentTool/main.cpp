// vexlo-patch: a command-line agent for the patch deployment library.
#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <new>
#include <string>

#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/CommandLine.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/PrintableText.h"

namespace {

using namespace agent_tool;  // NOLINT(google-build-using-namespace): the program's own names

/// Reserves each standard descriptor that the caller closed. Otherwise the next file or socket
/// would get its number and the output meant for the caller. Reading and writing it still fails.
void reserveStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) < 0) {
      [[maybe_unused]] const int same =  // gets the lowest free number
          ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  reserveStandardDescriptors();
  Console console;
  try {
    const Command command = readCommandLine(argc, argv);
    return static_cast<int>(command(console));
  } catch (const AgentSettingsError& error) {
    console.reportError(printable(error.what()));
    return static_cast<int>(ExitStatus::badUsage);
  } catch (const std::bad_alloc&) {
    console.reportError("not enough memory");
    return static_cast<int>(ExitStatus::noMemory);
  } catch (const std::exception& error) {
    console.reportError(printable(error.what()));
    return static_cast<int>(ExitStatus::failure);
  }
}
