// What happens in which order when the user is asked to close applications, and when they are
// killed; what the end-to-end tests of the prompt can't bring about.
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/Story.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"

namespace vexlo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using enum RunningAppPromptDecision;

class RunningAppUserAckTest : public ::testing::Test,
                              public CommandExecutor,
                              public UserSessionProvider,
                              public RunningAppPromptCleaning,
                              public RunningApplicationQuerying,
                              public vxutils::TrueParentTracking {
 protected:
  bool ask(RunningAppPromptDecision decision, std::int64_t timeout = 30) {
    RunningAppPromptPresenter presenter(*this, *this, *this, files, *this, *this,
                                        {.macOSMajorVersion = [] { return 14; },
                                         .runLoop =
                                             [this](auto time) {
                                               story.sleep(time);
                                               return runLoop();
                                             }});
    return presenter.requestUserAcknowledgement(
        {"Safari"}, {.remainingSkipAttempts = 2, .allowScreenGrab = true, .decision = decision},
        timeout);
  }
  /// The answer to a forced prompt, and to one that isn't.
  std::pair<bool, bool> answers() {
    const bool forced = ask(forceDeployment);
    return {forced, ask(promptUser)};
  }
  static std::string writeAnswer(const std::string& code) {
    return testAgentDirectories().write("logs/UserLogs/ApplicationRunningPromptretcode.txt", code);
  }

  CommandResult run(const std::string& command, const std::optional<std::string>& /*path*/,
                    const std::optional<std::string>& /*input*/) override {
    story.events.push_back("$ " + command);
    launched();
    return {};
  }
  std::string currentConsoleUserName() override { return "NOUSERNAME"; }
  std::optional<std::string> loggedOnUsers() override { return std::nullopt; }
  void clean() override {
    story.events.emplace_back("clean");
    std::filesystem::remove(RunningAppPromptConstants::returnCodeFilePath());
  }
  bool registerAsTrueParent(const std::string& name) override {
    story.events.push_back("register " + name);
    return true;
  }
  std::vector<RunningApplication> runningApplications(
      const std::string& /*bundleIdentifier*/) override {
    std::vector<RunningApplication> found;
    for (const bool ends : onQuery()) {
      found.push_back({.processIdentifier = 7, .forceTerminate = [ends] { return ends; }});
    }
    return found;
  }

  const TemporaryDirectory& agent = testAgentDirectories();
  Story story;
  AgentFiles files;
  std::function<void()> launched = [] {};  ///< What the prompt does.
  std::function<bool()> runLoop = [] { return true; };
  /// For each running application: whether it ends when it is killed.
  std::function<std::vector<bool>()> onQuery = [] { return std::vector<bool>(); };
};

constexpr std::pair kAgreed(true, true);
constexpr std::pair kDeclined(false, false);
constexpr std::pair kNoAnswer(true, false);

TEST_F(RunningAppUserAckTest, ForcedAndUnansweredForTwoSeconds) {
  onQuery = [] { return std::vector{true}; };
  EXPECT_TRUE(ask(forceDeployment, 2));
  const std::string command = "open -a \"" + RunningAppPromptPresenterConstants::promptAppPath() +
                              "\" --args \"Safari\" \"2\" \"true\"";
  const std::string request = "info requestUserAcknowledgement(for:using:timeout:): ";
  EXPECT_THAT(
      story.events,
      ElementsAre(request + "Launching prompt with command: " + command,
                  "register VexloAppRunningNotifier", "$ " + command,
                  request + "output: , exitCode: 0", "pause of 1000 ms", "pause of 1000 ms",
                  "pause of 1000 ms",
                  "info waitForPromptDismissal(timeout:): User acknowledgement timed out after 2 "
                  "seconds.",
                  "info readUserAcknowledgement(fallback:): Return code file not found. Returning "
                  "fallback: true.",
                  "clean"));
}

TEST_F(RunningAppUserAckTest, OnlyReturnCode94IsConsent) {
  for (const auto& [code, expected] : {std::pair{"94", kAgreed},
                                       {"93", kDeclined},
                                       {"95", kDeclined},
                                       {"-94", kDeclined},
                                       {"0", kDeclined}}) {
    launched = [answer = code] { writeAnswer(answer); };
    EXPECT_EQ(answers(), expected) << code;
    EXPECT_THAT(
        std::vector(story.events.end() - 3, story.events.end()),
        ElementsAre("info waitForPromptDismissal(timeout:): Prompt app exited.",
                    std::string("info readUserAcknowledgement(fallback:): User "
                                "acknowledgement received: ") +
                        (expected.first ? "true" : "false") + " (return code: " + code + ").",
                    "clean"));
  }
}

TEST_F(RunningAppUserAckTest, OnlyAnAnswerToThisPromptCounts) {
  launched = [&] {  // as the user's former answer, kept in another place
    const std::filesystem::path answer = writeAnswer("94");
    std::filesystem::rename(answer, agent.file("former"));
    std::filesystem::create_hard_link(agent.file("former"), answer);
  };
  EXPECT_EQ(answers(), kNoAnswer);
  launched = [] {
    const std::filesystem::path answer = writeAnswer("94");
    last_write_time(answer, last_write_time(answer) - std::chrono::seconds(10));
  };
  EXPECT_EQ(answers(), kNoAnswer);
}

TEST_F(RunningAppUserAckTest, WaitsOnWhenASourceOfTheRunLoopThrows) {
  launched = [] { writeAnswer("94"); };
  runLoop = []() -> bool { throw std::runtime_error("the agent's own"); };
  EXPECT_EQ(answers(), kAgreed);
  EXPECT_THAT(story.events,
              Contains("error waitForPromptDismissal(timeout:): A source of the thread's run loop "
                       "threw an exception: the agent's own"));
  runLoop = []() -> bool { throw 2; };
  EXPECT_EQ(answers(), kAgreed);
}

TEST_F(RunningAppUserAckTest, CleansUpAfterAnException) {
  onQuery = []() -> std::vector<bool> { throw std::runtime_error("no list"); };
  EXPECT_THROW((void)ask(promptUser), std::runtime_error);
  EXPECT_EQ(story.events.back(), "clean");
}

TEST_F(RunningAppUserAckTest, PausesAfterEachKillAcceptedOrNot) {
  onQuery = [this] {
    return story.events.empty() ? std::vector{true, false} : std::vector<bool>();
  };
  AppKiller(*this, [&](auto time) { story.sleep(time); }).killApps({"a", "b"});
  const std::string attempt =
      "info killApps(for:): Attempting to terminate app: Unknown with PID: 7, Termination status: ";
  EXPECT_THAT(
      story.events,
      ElementsAre(attempt + "true.", "pause of 2000 ms", attempt + "false.", "pause of 2000 ms",
                  "info killApps(for:): No running applications found with bundleID: b."));
}

TEST_F(RunningAppUserAckTest, DetectionEndsWithTheFirstApplicationThatRuns) {
  int questions = 0;
  onQuery = [&] { return ++questions == 2 ? std::vector{true} : std::vector<bool>(); };
  EXPECT_TRUE(RunningAppDetector(*this).isAnyAppRunning({"a", "b", "c"}));
  EXPECT_EQ(questions, 2);
}

}  // namespace
}  // namespace vexlo
