#include "AgentLibraries/vxutils/TerminalUtil.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Memory.h"
#include "Platform/Process.h"

namespace vxutils {
namespace {

using LogCore::logError;
using LogCore::logInfo;
using LogCore::LogTag;
using LogCore::text;

constexpr LogTag kRunTag(
    "runCommand(_:inDirectory:launchPath:pipeInput:timeout:logOutputContinuously:shouldLogOutput:"
    ")");
constexpr LogTag kTaskTag("executeTaskForString(pathOfBinary:arguments:)");

constexpr const char* kDefaultShell = "/bin/sh";
constexpr std::int32_t kEndedBySIGTERM = 128 + 15;
constexpr std::int64_t kLongestTimeoutSeconds = std::int64_t{10} * 366 * 24 * 3600;

/// Runs the request for at most `timeoutSeconds` and logs what its caller can't see in the result.
platform::ProcessResult run(platform::ProcessRequest& request, std::int64_t timeoutSeconds,
                            const LogTag& tag) {
  request.timeout =
      std::chrono::seconds(std::clamp<std::int64_t>(timeoutSeconds, 0, kLongestTimeoutSeconds));
  platform::ProcessResult result = platform::runProcess(request);
  if (result.startError) {
    logError(tag, [&] {
      return text("Could not start ", request.executable, ": ", result.startError.message(), ".");
    });
  }
  if (result.timedOut) {
    if (result.exitCode == 0) {  // it tidied up when it was told to end; its work isn't done
      result.exitCode = kEndedBySIGTERM;
    }
    logError(tag,
             [&] { return text("The command was ended after ", timeoutSeconds, " seconds."); });
  }
  if (result.exitCode == platform::ProcessResult::kUnknownStatus) {
    logError(tag, [] {
      return "The exit status of the command is not known: this process ignores SIGCHLD, or "
             "another part of it has waited for the child.";
    });
  }
  return result;
}

}  // namespace

TerminalUtil& TerminalUtil::defaultInstance() {
  static TerminalUtil instance;
  return instance;
}

CommandResult TerminalUtil::runCommand(const std::string& command,
                                       const std::optional<std::string>& directory,
                                       const std::optional<std::string>& launchPath,
                                       const std::optional<std::string>& pipeInput,
                                       std::int64_t timeoutSeconds, bool logOutputContinuously,
                                       bool shouldLogOutput) {
  platform::ProcessRequest request{
      .executable = launchPath.value_or(kDefaultShell), .directory = directory, .input = pipeInput};
  request.arguments.reserve(2);
  request.arguments.emplace_back("-c");
  const platform::WipeAtEnd wipeCommand(request.arguments.emplace_back(command));
  if (logOutputContinuously) {
    request.onLine = [](std::string_view line) { logInfo(kRunTag, [&] { return line; }); };
  }
  platform::ProcessResult result = run(request, timeoutSeconds, kRunTag);
  if (shouldLogOutput) {
    logInfo(kRunTag, [&] { return std::string_view(result.output); });
  }
  return {.exitCode = result.exitCode, .output = std::move(result.output)};
}

std::pair<std::int32_t, std::string> TerminalUtil::executeTaskForString(
    const std::string& pathOfBinary, const std::vector<std::string>& arguments,
    std::int64_t timeoutSeconds) {
  platform::ProcessRequest request{.executable = pathOfBinary, .arguments = arguments};
  platform::ProcessResult result = run(request, timeoutSeconds, kTaskTag);
  return {result.exitCode, std::move(result.output)};
}

}  // namespace vxutils
