#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <expected>
#include <optional>
#include <string_view>
#include <utility>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "Platform/Files.h"
#include "Platform/RunLoop.h"
#include "Platform/Text.h"
#include "Platform/Unicode.h"
#include "Platform/Users.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"

namespace vexlo {
namespace {

using Answer = PromptMeasurement::Answer;

constexpr LogTag kRequestTag{"requestUserAcknowledgement(for:using:timeout:)"};
constexpr LogTag kWaitTag{"waitForPromptDismissal(timeout:)"};
constexpr LogTag kReadTag{"readUserAcknowledgement(fallback:)"};

constexpr std::string_view kPromptAppName = "VexloAppRunningNotifier";
constexpr std::int64_t kLastVersionWithoutOpen = 11;
constexpr std::chrono::seconds kPass{1};
constexpr std::int64_t kUserAgreed = 94;
constexpr std::uint32_t kRoot = 0;

constexpr std::uint64_t kLargestReturnCodeFile = 4096;
constexpr std::chrono::seconds kCoarsestFileTime{2};  // of file systems

/// The text of the answer file, or why it can't be read. Users can write to its directory, so links
/// are not followed, only a small regular file is read, without blocking, and it must belong to the
/// user who was asked, the agent's user or root. A second name of an older answer doesn't count.
std::expected<std::string, std::string> readAnswer(const std::string& path,
                                                   const std::string& askedUser,
                                                   std::int64_t writtenSince) {
  std::vector<std::uint32_t> owners{kRoot, platform::ownUserID()};
  if (const std::optional<std::uint32_t> asked = platform::userID(askedUser)) {
    owners.push_back(*asked);
  }
  auto bytes = platform::readFile(path, {.maximumBytes = kLargestReturnCodeFile,
                                         .followLinks = false,
                                         .owners = std::move(owners),
                                         .onlyName = true,
                                         .writtenSince = writtenSince});
  if (!bytes) {
    return std::unexpected(std::move(bytes.error().message));
  }
  if (const std::size_t offset = platform::findInvalidUTF8(*bytes); offset != std::string::npos) {
    return std::unexpected(
        text(path, ": expected UTF-8 text, found another byte at offset ", offset));
  }
  return *std::move(bytes);
}

PromptMeasurement promptMeasurement(const RunningAppPromptEvaluation& evaluation, Answer answer) {
  PromptMeasurement prompt{
      .decision = evaluation.decision, .answer = answer, .postponementsLeft = std::nullopt};
  if (answer != Answer::agreed && evaluation.decision == RunningAppPromptDecision::promptUser &&
      evaluation.remainingSkipAttempts > 0) {
    prompt.postponementsLeft = evaluation.remainingSkipAttempts - 1;  // this one is used up
  }
  return prompt;
}

std::string_view nameOf(Answer answer) {
  constexpr std::array<std::string_view, 5> kNames{
      // in the enumeration's order
      "agreed", "declined", "none", "notShown", "notAsked"};
  return kNames.at(std::to_underlying(answer));
}

std::string leftText(const std::optional<std::int64_t>& postponements) {
  if (!postponements) {
    return "";
  }
  return text("; ", *postponements, *postponements == 1 ? " postponement" : " postponements",
              " left");
}

}  // namespace

/// The user who is asked, and when; the console user may change before the answer is read.
struct RunningAppPromptPresenter::Question {
  std::string user;
  std::chrono::system_clock::time_point time = std::chrono::system_clock::now();
  std::chrono::steady_clock::time_point steadyTime = std::chrono::steady_clock::now();

  /// The earliest time of an answer's file, in seconds since 1970.
  [[nodiscard]] std::int64_t earliestAnswer() const {
    using std::chrono::system_clock;
    const auto elapsed = std::chrono::steady_clock::now() - steadyTime;
    // Differs from `time` if the system's clock was set meanwhile.
    const auto timeByClockNow =
        system_clock::now() - std::chrono::duration_cast<system_clock::duration>(elapsed);
    return system_clock::to_time_t(std::min(time, timeByClockNow) - kCoarsestFileTime);
  }
};

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

bool RunningAppPromptPresenter::requestUserAcknowledgement(
    const std::vector<std::string>& names, const RunningAppPromptEvaluation& evaluation,
    std::int64_t timeoutSeconds) {
  const bool isForced = evaluation.decision == RunningAppPromptDecision::forceDeployment;
  Answer answer = Answer::notShown;
  try {
    const std::string command = buildLaunchCommand(evaluation, names);
    logInfo(kRequestTag, [&] { return text("Launching prompt with command: ", command); });
    answer = askUser(command, isForced, timeoutSeconds);
    measured([&] { return promptMeasurement(evaluation, answer); });
  } catch (...) {
    cleaner_.clean();
    throw;
  }
  cleaner_.clean();
  return answer == Answer::agreed || (isForced && answer == Answer::none);
}

std::string RunningAppPromptPresenter::buildLaunchCommand(
    const RunningAppPromptEvaluation& evaluation, const std::vector<std::string>& names) {
  // The shell runs as the agent's user, and anyone can choose an application's name. The name is
  // therefore escaped and reaches the prompt unchanged.
  const std::string arguments =
      text(" \"", insideDoubleQuotes(platform::joined(names, ", ")), "\" \"",
           evaluation.remainingSkipAttempts, "\" \"", evaluation.allowScreenGrab, '"');
  const std::string program =
      text('"', insideDoubleQuotes(RunningAppPromptPresenterConstants::promptAppPath()), '"');
  if (surroundings_.macOSMajorVersion() > kLastVersionWithoutOpen) {
    return text("open ", evaluation.allowScreenGrab ? "" : "-g ", "-a ", program, " --args",
                arguments);
  }
  return text("sudo -u ", shellWord(userSessionProvider_.currentConsoleUserName()), ' ', program,
              arguments);
}

Answer RunningAppPromptPresenter::askUser(const std::string& command, bool fallback,
                                          std::int64_t timeoutSeconds) {
  if (!parentChecker_.registerAsTrueParent(std::string(kPromptAppName))) {
    logInfo(kRequestTag,
            [] { return "Failed to register as true parent for the VexloAppRunningNotifier."; });
    return Answer::notShown;
  }
  const Question question{.user = userSessionProvider_.currentConsoleUserName()};
  const CommandResult launch = executor_.run(command, "/bin/sh", std::nullopt);
  logInfo(kRequestTag,
          [&] { return text("output: ", launch.output, ", exitCode: ", launch.exitCode); });
  if (launch.exitCode != 0) {
    logInfo(kRequestTag, [] { return "Failed to launch the running app prompt."; });
    return Answer::notShown;
  }
  waitForPromptDismissal(timeoutSeconds);
  return readUserAcknowledgement(fallback, question);
}

void RunningAppPromptPresenter::waitForPromptDismissal(std::int64_t timeoutSeconds) {
  const std::string bundleID(RunningAppPromptConstants::bundleIdentifier);
  for (std::int64_t passes = 0; runLoopForOnePass(); ++passes) {
    if (runningApplicationQuery_.runningApplications(bundleID).empty()) {
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

bool RunningAppPromptPresenter::runLoopForOnePass() {
  const auto logThrown = [](std::string_view what) {
    logError(kWaitTag,
             [&] { return text("A source of the thread's run loop threw an exception: ", what); });
    return true;
  };
  try {
    return surroundings_.runLoop(kPass);
  } catch (const std::exception& error) {
    return logThrown(error.what());
  } catch (...) {
    return logThrown("of an unknown type");
  }
}

Answer RunningAppPromptPresenter::readUserAcknowledgement(bool fallback, const Question& question) {
  const std::string& path = RunningAppPromptPresenterConstants::returnCodeFilePath();
  if (!fileManager_.isFileExist(path)) {
    logInfo(kReadTag, [&] {
      return text("Return code file not found. Returning fallback: ", fallback, ".");
    });
    return Answer::none;
  }
  const std::expected<std::string, std::string> content =
      readAnswer(path, question.user, question.earliestAnswer());
  if (!content) {
    logInfo(kReadTag, [&] {
      return text("Failed to read return code file. Returning fallback: ", fallback,
                  ". Error: ", content.error(), ".");
    });
    return Answer::none;
  }
  const std::optional<std::int64_t> code = parseInteger(platform::trimmed(*content));
  if (!code) {
    logInfo(kReadTag, [&] {
      return text("Return code file content is invalid. Returning fallback: ", fallback, ".");
    });
    return Answer::none;
  }
  const bool agreed = *code == kUserAgreed;
  logInfo(kReadTag, [&] {
    return text("User acknowledgement received: ", agreed, " (return code: ", *code, ").");
  });
  return agreed ? Answer::agreed : Answer::declined;
}

std::string PromptMeasurement::words() const {
  const bool isForced = decision == RunningAppPromptDecision::forceDeployment;
  if (decision == RunningAppPromptDecision::skipDeployment) {
    return "no more prompts today";
  }
  switch (answer) {
    case Answer::agreed:
      return "the user agreed";
    case Answer::declined:
      return "the user declined" + leftText(postponementsLeft);
    case Answer::none:
      return isForced ? "forced, nobody answered the prompt"
                      : "nobody answered the prompt" + leftText(postponementsLeft);
    case Answer::notShown:
      return "the prompt can't be shown" + leftText(postponementsLeft);
    case Answer::notAsked:
      return (isForced ? "forced prompt due" : "prompt due") + leftText(postponementsLeft);
  }
  std::unreachable();
}

std::string PromptMeasurement::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addString("decision", describe(decision))
      .addString("answer", nameOf(answer))
      .addNumber("postponementsLeft", postponementsLeft)
      .done();
}

}  // namespace vexlo
