#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

#include <cstddef>
#include <expected>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Files.h"
#include "Platform/RunLoop.h"
#include "Platform/Unicode.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"

namespace vexlo {
namespace {

constexpr LogTag kRequestTag{"requestUserAcknowledgement(for:using:timeout:)"};
constexpr LogTag kWaitTag{"waitForPromptDismissal(timeout:)"};
constexpr LogTag kReadTag{"readUserAcknowledgement(fallback:)"};

constexpr std::string_view kPromptAppName = "VexloAppRunningNotifier";
constexpr std::int64_t kLastVersionWithoutOpen = 11;
constexpr std::chrono::seconds kPass{1};
constexpr std::int64_t kUserAgreed = 94;

/// The answer file lies where the user can write: a link in its place is not followed, nothing
/// but a small regular file is read, and no reading blocks.
constexpr platform::ReadOptions kReturnCodeFileOptions{.maximumBytes = 4096, .followLinks = false};

std::string joined(const std::vector<std::string>& names) {
  std::string out;
  for (std::string_view separator; const std::string& name : names) {
    out += text(separator, name);
    separator = ", ";
  }
  return out;
}

std::string_view withoutSurroundingBlanks(std::string_view content) {
  constexpr std::string_view kBlanks = " \t\n\v\f\r";
  const std::size_t first = content.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return content.substr(first, content.find_last_not_of(kBlanks) - first + 1);
}

/// The text of the file, or why it can't be read.
std::expected<std::string, std::string> readText(const std::string& path) {
  auto bytes = platform::readFile(path, kReturnCodeFileOptions);
  if (!bytes) {
    return std::unexpected(std::move(bytes.error().message));
  }
  if (const std::size_t offset = platform::findInvalidUTF8(*bytes); offset != std::string::npos) {
    return std::unexpected(
        text(path, ": expected UTF-8 text, found another byte at offset ", offset));
  }
  return *std::move(bytes);
}

}  // namespace

const std::string& RunningAppPromptPresenterConstants::promptAppPath() {
  static const std::string path =
      agentBaseFile("/bin/VexloAppRunningNotifier.app/Contents/MacOS/VexloAppRunningNotifier");
  return path;
}

const std::string& RunningAppPromptPresenterConstants::returnCodeFilePath() {
  return RunningAppPromptConstants::returnCodeFilePath();
}

bool RunningAppPromptSurroundings::runCurrentRunLoop(std::chrono::milliseconds duration) {
  return platform::RunLoop::current().runDefaultMode(duration);
}

RunningAppPromptPresenter::RunningAppPromptPresenter(
    std::shared_ptr<CommandExecutor> executor,
    std::shared_ptr<UserSessionProvider> userSessionProvider,
    std::shared_ptr<RunningAppPromptCleaning> cleaner,
    std::shared_ptr<SystemFileManager> fileManager,
    std::shared_ptr<RunningApplicationQuerying> runningApplicationQuery,
    std::shared_ptr<vxutils::TrueParentTracking> parentChecker,
    RunningAppPromptSurroundings surroundings)
    : executor_(std::move(executor)),
      userSessionProvider_(std::move(userSessionProvider)),
      cleaner_(std::move(cleaner)),
      fileManager_(std::move(fileManager)),
      runningApplicationQuery_(std::move(runningApplicationQuery)),
      parentChecker_(std::move(parentChecker)),
      surroundings_(std::move(surroundings)) {}

bool RunningAppPromptPresenter::requestUserAcknowledgement(
    const std::vector<std::string>& names, const RunningAppPromptEvaluation& evaluation,
    std::int64_t timeoutSeconds) {
  const std::string command = buildLaunchCommand(evaluation, names);
  logInfo(kRequestTag, [&] { return text("Launching prompt with command: ", command); });
  const bool acknowledged = askUser(
      command, evaluation.decision == RunningAppPromptDecision::forceDeployment, timeoutSeconds);
  cleaner_->clean();
  return acknowledged;
}

std::string RunningAppPromptPresenter::buildLaunchCommand(
    const RunningAppPromptEvaluation& evaluation, const std::vector<std::string>& names) {
  // The shell runs as the agent's user, and anyone can name an application: a name reaches the
  // prompt as it is, whatever it holds, and is never read as a command.
  const std::string arguments =
      text(" \"", insideDoubleQuotes(joined(names)), "\" \"", evaluation.remainingSkipAttempts,
           "\" \"", evaluation.allowScreenGrab, '"');
  const std::string program =
      text('"', insideDoubleQuotes(RunningAppPromptPresenterConstants::promptAppPath()), '"');
  if (surroundings_.macOSMajorVersion() > kLastVersionWithoutOpen) {
    return text("open ", evaluation.allowScreenGrab ? "" : "-g ", "-a ", program, " --args",
                arguments);
  }
  return text("sudo -u ", shellWord(userSessionProvider_->currentConsoleUserName()), ' ', program,
              arguments);
}

bool RunningAppPromptPresenter::askUser(const std::string& command, bool fallback,
                                        std::int64_t timeoutSeconds) {
  if (!parentChecker_->registerAsTrueParent(std::string(kPromptAppName))) {
    logInfo(kRequestTag,
            [] { return "Failed to register as true parent for the VexloAppRunningNotifier."; });
    return false;
  }
  const CommandResult launch = executor_->run(command, "/bin/sh", std::nullopt);
  logInfo(kRequestTag,
          [&] { return text("output: ", launch.output, ", exitCode: ", launch.exitCode); });
  if (launch.exitCode != 0) {
    logInfo(kRequestTag, [] { return "Failed to launch the running app prompt."; });
    return false;
  }
  waitForPromptDismissal(timeoutSeconds);
  return readUserAcknowledgement(fallback);
}

void RunningAppPromptPresenter::waitForPromptDismissal(std::int64_t timeoutSeconds) {
  const std::string bundleID(RunningAppPromptConstants::bundleIdentifier);
  for (std::int64_t passes = 0; surroundings_.runLoop(kPass); ++passes) {
    if (runningApplicationQuery_->runningApplications(bundleID).empty()) {
      logInfo(kWaitTag, [] { return "Prompt app exited."; });
      return;
    }
    if (timeoutSeconds < 1 || passes >= timeoutSeconds) {
      logInfo(kWaitTag, [&] {
        return text("User acknowledgement timed out after ", timeoutSeconds, " seconds.");
      });
      return;
    }
  }
}

bool RunningAppPromptPresenter::readUserAcknowledgement(bool fallback) {
  const std::string& path = RunningAppPromptPresenterConstants::returnCodeFilePath();
  if (!fileManager_->isFileExist(path)) {
    logInfo(kReadTag, [&] {
      return text("Return code file not found. Returning fallback: ", fallback, ".");
    });
    return fallback;
  }
  const std::expected<std::string, std::string> content = readText(path);
  if (!content) {
    logInfo(kReadTag, [&] {
      return text("Failed to read return code file. Returning fallback: ", fallback,
                  ". Error: ", content.error(), ".");
    });
    return fallback;
  }
  const std::optional<std::int64_t> code = parseInteger(withoutSurroundingBlanks(*content));
  if (!code) {
    logInfo(kReadTag, [&] {
      return text("Return code file content is invalid. Returning fallback: ", fallback, ".");
    });
    return fallback;
  }
  const bool agreed = *code == kUserAgreed;
  logInfo(kReadTag, [&] {
    return text("User acknowledgement received: ", agreed, " (return code: ", *code, ").");
  });
  return agreed;
}

}  // namespace vexlo
