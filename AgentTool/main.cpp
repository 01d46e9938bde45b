// vexlo-patch: a command-line agent for the patch deployment library.
#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <new>
#include <string_view>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/CommandLine.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/PrintableText.h"
#include "VexloPatchDeployment/Common/PatchActionFileError.h"

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
  const auto fail = [&](ExitStatus status, std::string_view why) {
    if (!why.empty()) {
      console.reportError(printable(why));
    }
    return static_cast<int>(status);
  };
  try {
    const Command command = readCommandLine(argc, argv);
    return static_cast<int>(command(console));
  } catch (const UsageError& error) {
    return fail(ExitStatus::badUsage, error.what());
  } catch (const vexlo::PatchActionFileError& error) {
    return fail(ExitStatus::unusableFile, error.what());
  } catch (const FileCodec::DecodingError& error) {
    return fail(ExitStatus::unusableFile, error.what());
  } catch (const std::bad_alloc&) {
    return fail(ExitStatus::noMemory, "not enough memory");
  } catch (const std::exception& error) {
    return fail(ExitStatus::failure, error.what());
  }
}
