// Tests what the end-to-end tests of the prompt can't bring about.
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TestAgentDirectories.h"

namespace vexlo {
namespace {

using testing::Contains;

/// Launches a prompt application by calling `launched`.
class FakeLauncher final : public CommandExecutor {
 public:
  std::function<void()> launched = [] {};
  CommandResult run(const std::string& /*command*/, const std::optional<std::string>& /*path*/,
                    const std::optional<std::string>& /*input*/) override {
    launched();
    return {};
  }
};

class RunningAppUserAckTest : public ::testing::Test,
                              public UserSessionProvider,
                              public RunningAppPromptCleaning,
                              public RunningApplicationQuerying {
 protected:
  std::string currentConsoleUserName() override { return "NOUSERNAME"; }
  std::optional<std::string> loggedOnUsers() override { return std::nullopt; }
  void clean() override {
    ++timesCleaned;
    std::filesystem::remove(RunningAppPromptConstants::returnCodeFilePath());
  }
  std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& /*bundleIdentifier*/) override {
    onQuery();
    return {};
  }

  /// The answer to a forced prompt, and to one that isn't.
  std::pair<bool, bool> answers() {
    const auto answer = [&](RunningAppPromptDecision decision) {
      return presenter.requestUserAcknowledgement({"Safari"}, {.decision = decision}, 30);
    };
    const bool forced = answer(RunningAppPromptDecision::forceDeployment);
    return {forced, answer(RunningAppPromptDecision::promptUser)};
  }
  static std::string writeAnswer(const std::string& code) {
    return testAgentDirectories().write("logs/UserLogs/ApplicationRunningPromptretcode.txt", code);
  }

  const TemporaryDirectory& agent = testAgentDirectories();
  FakeLauncher launcher;
  AgentFiles files;
  vxutils::ProcessInformation process;
  std::function<void()> onQuery = [] {};
  std::function<bool()> runLoop = [] { return true; };
  int timesCleaned = 0;
  LogCapture log;
  RunningAppPromptPresenter presenter{
      launcher,
      *this,
      *this,
      files,
      *this,
      process,
      {.macOSMajorVersion = [] { return 14; }, .runLoop = [this](auto) { return runLoop(); }}};
};

constexpr std::pair kAgreed(true, true);
constexpr std::pair kDeclined(false, false);
constexpr std::pair kNoAnswer(true, false);

TEST_F(RunningAppUserAckTest, OnlyAnAnswerToThisPromptCounts) {
  launcher.launched = [] { writeAnswer("94"); };
  EXPECT_EQ(answers(), kAgreed);
  launcher.launched = [] { writeAnswer("1"); };
  EXPECT_EQ(answers(), kDeclined);
  launcher.launched = [&] {  // as the user's former answer, kept in another place
    const std::filesystem::path answer = writeAnswer("94");
    std::filesystem::rename(answer, agent.file("former"));
    std::filesystem::create_hard_link(agent.file("former"), answer);
  };
  EXPECT_EQ(answers(), kNoAnswer);
  launcher.launched = [] {
    const std::filesystem::path answer = writeAnswer("94");
    last_write_time(answer, last_write_time(answer) - std::chrono::seconds(10));
  };
  EXPECT_EQ(answers(), kNoAnswer);
}

TEST_F(RunningAppUserAckTest, WaitsOnWhenASourceOfTheRunLoopThrows) {
  launcher.launched = [] { writeAnswer("94"); };
  runLoop = []() -> bool { throw std::runtime_error("the agent's own"); };
  EXPECT_EQ(answers(), kAgreed);
  runLoop = []() -> bool { throw 2; };
  EXPECT_EQ(answers(), kAgreed);
  EXPECT_EQ(timesCleaned, 4);
  EXPECT_THAT(log.records(), Contains(ErrorLine("A source of the thread's run loop threw an "
                                                "exception: the agent's own")));
}

TEST_F(RunningAppUserAckTest, CleansUpAfterAnException) {
  onQuery = [] { throw std::runtime_error("no list"); };
  EXPECT_THROW((void)presenter.requestUserAcknowledgement({"Safari"}, {}, 30), std::runtime_error);
  EXPECT_EQ(timesCleaned, 1);
}

}  // namespace
}  // namespace vexlo
