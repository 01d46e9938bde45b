#include "AgentLibraries/vxutils/TerminalUtil.h"

#include <algorithm>
#include <string_view>
#include <thread>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Memory.h"
#include "Platform/PrintableText.h"
#include "Platform/Process.h"
#include "Platform/TransientError.h"

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
constexpr int kTries = 5;
constexpr std::chrono::milliseconds kPauseBetweenTries{500};
constexpr std::size_t kMostLoggedBytes = std::size_t{4} << 20;

/// Runs the request for at most `timeoutSeconds` and logs what the result doesn't show. Transient
/// failures to start are retried.
CommandResult run(platform::ProcessRequest& request, std::int64_t timeoutSeconds, const LogTag& tag,
                  const TerminalUtil::Sleeper& sleep) {
  request.timeout =
      std::chrono::seconds(std::clamp<std::int64_t>(timeoutSeconds, 0, kLongestTimeoutSeconds));
  platform::ProcessResult result = platform::runProcess(request);
  for (int tries = 1; tries < kTries && platform::isTransient(result.startError); ++tries) {
    sleep(kPauseBetweenTries);
    result = platform::runProcess(request);
  }
  if (result.startError) {
    logError(tag, [&] {
      const std::string& path = result.unusablePath;
      const std::string of = path == request.executable  ? ""
                             : path == request.directory ? text(" in ", path)
                                                         : text(": ", path);
      return text("Could not start ", request.executable, of, ": ", result.startError.message(),
                  ".");
    });
  }
  if (result.timedOut) {
    if (result.exitCode == 0) {  // exited cleanly on SIGTERM, but its work isn't done
      result.exitCode = kEndedBySIGTERM;
    }
    logError(tag,
             [&] { return text("The command was ended after ", timeoutSeconds, " seconds."); });
  }
  if (result.exitCode == platform::ProcessResult::kUnknownStatus) {
    logError(tag, [] {
      return "The exit status of the command is not known: another part of this process has waited "
             "for the child. From now on commands run under a shell that reports it.";
    });
  }
  return {.exitCode = result.exitCode, .output = std::move(result.output)};
}

/// Logs a command's lines up to a limit of written bytes, so that a runaway tool doesn't fill the
/// disk.
class LineLogger {
 public:
  void log(std::string_view line) {
    const std::size_t bytes =
        left_ == 0 ? 0 : kBytesBefore + platform::printable(line, platform::Tabs::kept).size();
    if (bytes >= left_) {
      left_ = 0;  // so that no later line is logged after a gap
      ++dropped_;
      return;
    }
    left_ -= bytes;
    logInfo(kRunTag, [&] { return line; });
  }
  /// Logs how many lines are missing.
  void finish() const {
    if (dropped_ > 0) {
      logError(kRunTag, [&] {
        return text(dropped_, " more lines of the command's output were not logged.");
      });
    }
  }

 private:
  /// What a log line has before its message, and its line feed.
  static constexpr std::size_t kBytesBefore =
      std::string_view("2026-11-24T10:11:12.123Z INFO    :123 \n").size() + kRunTag.file.size() +
      kRunTag.function.size();

  std::size_t left_ = kMostLoggedBytes;
  std::uint64_t dropped_ = 0;
};

}  // namespace

TerminalUtil& TerminalUtil::defaultInstance() {
  static TerminalUtil instance([](auto duration) { std::this_thread::sleep_for(duration); });
  return instance;
}

CommandResult TerminalUtil::runCommand(const std::string& command,
                                       const std::optional<std::string>& directory,
                                       const std::optional<std::string>& launchPath,
                                       const std::optional<std::string>& pipeInput,
                                       std::int64_t timeoutSeconds, bool logOutputContinuously,
                                       bool shouldLogOutput, const OutputReader& readOutput) {
  platform::ProcessRequest request{
      .executable = launchPath.value_or(kDefaultShell), .directory = directory, .input = pipeInput};
  request.arguments.reserve(2);
  request.arguments.emplace_back("-c");
  const platform::WipeAtEnd wipeCommand(request.arguments.emplace_back(command));
  LineLogger lines;
  if (logOutputContinuously) {
    request.onLine = [&](std::string_view line) { lines.log(line); };
  }
  request.onOutput = readOutput;
  CommandResult result = run(request, timeoutSeconds, kRunTag, sleep_);
  lines.finish();
  if (shouldLogOutput) {
    logInfo(kRunTag, [&] { return std::string_view(result.output); });
  }
  return result;
}

CommandResult TerminalUtil::executeTaskForString(const std::string& pathOfBinary,
                                                 const std::vector<std::string>& arguments,
                                                 std::int64_t timeoutSeconds) {
  platform::ProcessRequest request{.executable = pathOfBinary, .arguments = arguments};
  return run(request, timeoutSeconds, kTaskTag, sleep_);
}

}  // namespace vxutils
