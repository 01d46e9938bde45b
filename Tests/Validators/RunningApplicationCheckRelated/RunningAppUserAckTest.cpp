#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Fakes/FakeCommandExecutor.h"
#include "Tests/Fakes/FakeRunningApplicationQuery.h"
#include "Tests/Fakes/FakeUserSessionProvider.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TestAgentDirectories.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Decision = RunningAppPromptDecision;

constexpr const char* kAnswerFile = "logs/UserLogs/ApplicationRunningPromptretcode.txt";
const RunningAppPromptEvaluation kAsk{1, false, Decision::promptUser};
const RunningAppPromptEvaluation kForce{0, true, Decision::forceDeployment};

/// What the presenter registers at, and what cleans up; they record what they are asked.
class Surroundings final : public vxutils::TrueParentTracking, public RunningAppPromptCleaning {
 public:
  bool registers = true;
  std::vector<std::string> events;
  bool registerAsTrueParent(const std::string& programName) override {
    events.push_back("register " + programName);
    return registers;
  }
  void clean() override { events.emplace_back("clean"); }
};

class RunningAppUserAckTest : public ::testing::Test {
 protected:
  ~RunningAppUserAckTest() override { std::filesystem::remove_all(agent.file("logs")); }

  bool ask(const RunningAppPromptEvaluation& evaluation, std::int64_t timeoutSeconds = 0,
           const std::vector<std::string>& names = {"Safari", "Mail"}) {
    passes = 0;
    executor->answers = {launch};
    return RunningAppPromptPresenter(executor, session, around, std::make_shared<FileUtils>(),
                                     query, around,
                                     {.macOSMajorVersion = [this] { return macOSMajorVersion; },
                                      .runLoop =
                                          [this](std::chrono::milliseconds duration) {
                                            EXPECT_EQ(duration, std::chrono::seconds(1));
                                            ++passes;
                                            onPass();
                                            return hasInputSource;
                                          }})
        .requestUserAcknowledgement(names, evaluation, timeoutSeconds);
  }
  void promptRuns(bool running) {
    query->running["com.tervane.ApplicationRunningPrompt"].resize(running ? 1 : 0);
  }
  [[nodiscard]] std::string lastMessage() const { return log.records().back().message; }

  const TemporaryDirectory& agent = testAgentDirectories();
  const std::string app = '"' + RunningAppPromptPresenterConstants::promptAppPath() + '"';
  std::shared_ptr<FakeCommandExecutor> executor = std::make_shared<FakeCommandExecutor>();
  std::shared_ptr<FakeUserSessionProvider> session = std::make_shared<FakeUserSessionProvider>();
  std::shared_ptr<FakeRunningApplicationQuery> query =
      std::make_shared<FakeRunningApplicationQuery>();
  std::shared_ptr<Surroundings> around = std::make_shared<Surroundings>();
  CommandResult launch{0, "opened"};
  std::int64_t macOSMajorVersion = 13;
  bool hasInputSource = true;
  int passes = 0;
  std::function<void()> onPass = [] {};
  LogCapture log;
};

TEST_F(RunningAppUserAckTest, TheUserAgreesInTheSecondPass) {
  promptRuns(true);
  onPass = [this] {
    if (passes == 2) {
      agent.write(kAnswerFile, "94\n");
      promptRuns(false);
    }
  };
  EXPECT_TRUE(ask({2, false, Decision::promptUser}, 930));
  const std::string command = "open -g -a " + app + R"( --args "Safari, Mail" "2" "false")";
  EXPECT_EQ(executor->calls.at(0).command, command);
  EXPECT_EQ(executor->calls.at(0).launchPath, "/bin/sh");
  EXPECT_THAT(around->events, ElementsAre("register VexloAppRunningNotifier", "clean"));
  const std::string file = "Validators/RunningApplicationCheckRelated/RunningAppUserAck";
  const auto request = LoggedBy(file, "requestUserAcknowledgement(for:using:timeout:)");
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("Launching prompt with command: " + command), request),
                          AllOf(InfoLine("output: opened, exitCode: 0"), request),
                          AllOf(InfoLine("Prompt app exited."),
                                LoggedBy(file, "waitForPromptDismissal(timeout:)")),
                          AllOf(InfoLine("User acknowledgement received: true (return code: 94)."),
                                LoggedBy(file, "readUserAcknowledgement(fallback:)"))));
}

TEST_F(RunningAppUserAckTest, NoNameIsReadAsACommand) {
  macOSMajorVersion = 11;
  session->consoleUser = "al;ice";
  EXPECT_FALSE(ask(kAsk, 0, {R"(A "B" $C `d` \e)"}));
  EXPECT_EQ(executor->calls.back().command,
            "sudo -u 'al;ice' " + app + R"( "A \"B\" \$C \`d\` \\e" "1" "false")");
}

TEST_F(RunningAppUserAckTest, WhatIsNotLaunchedIsNotWaitedForAndCountsAsNo) {
  agent.write(kAnswerFile, "94");
  launch = {1, "no such application"};
  EXPECT_FALSE(ask(kForce, 930));
  EXPECT_THAT(log.records().back(), InfoLine("Failed to launch the running app prompt."));
  executor->calls.clear();
  around->registers = false;
  EXPECT_FALSE(ask(kForce, 930));
  EXPECT_THAT(executor->calls, IsEmpty());
  EXPECT_EQ(passes, 0);
  EXPECT_EQ(around->events.back(), "clean");
  EXPECT_THAT(log.records().back(),
              InfoLine("Failed to register as true parent for the VexloAppRunningNotifier."));
}

TEST_F(RunningAppUserAckTest, ThePromptIsWaitedForUntilTheTimeOut) {
  promptRuns(true);
  for (const int timeout : {-5, 0, 1, 3}) {
    EXPECT_TRUE(ask(kForce, timeout));
    EXPECT_EQ(passes, timeout < 0 ? 1 : timeout + 1);
    EXPECT_EQ(log.records().rbegin()[1].message,
              "User acknowledgement timed out after " + std::to_string(timeout) + " seconds.");
    EXPECT_EQ(lastMessage(), "Return code file not found. Returning fallback: true.");
  }
  hasInputSource = false;
  EXPECT_FALSE(ask(kAsk, 930));
  EXPECT_EQ(passes, 1);
}

TEST_F(RunningAppUserAckTest, AnAnswerIsANumberOrTheFallback) {
  agent.write(kAnswerFile, "\r\n\t+094 \n");
  EXPECT_TRUE(ask(kAsk));
  agent.write(kAnswerFile, "-94");
  EXPECT_FALSE(ask(kForce));
  EXPECT_EQ(lastMessage(), "User acknowledgement received: false (return code: -94).");
  for (const char* invalid : {"94.0", "yes", " \n", "94 94", "9223372036854775808"}) {
    agent.write(kAnswerFile, invalid);
    EXPECT_TRUE(ask(kForce)) << invalid;
    EXPECT_FALSE(ask(kAsk)) << invalid;
    EXPECT_EQ(lastMessage(), "Return code file content is invalid. Returning fallback: false.");
  }
}

TEST_F(RunningAppUserAckTest, WhatAUserPutsInTheAnswersPlaceNeverBlocksOrMisleads) {
  const std::string path = agent.write(kAnswerFile, "");
  for (const auto& make : std::vector<std::function<void()>>{
           [&] { std::filesystem::create_symlink(agent.write("logs/yes", "94"), path); },
           [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
           [&] { agent.write(kAnswerFile, "94" + std::string(5000, ' ')); },
           [&] { agent.write(kAnswerFile, "94\xA0"); }}) {
    std::filesystem::remove(path);
    make();
    EXPECT_FALSE(ask(kAsk));
    EXPECT_THAT(lastMessage(), StartsWith("Failed to read return code file. Returning fallback: "
                                          "false. Error: " +
                                          path));
  }
}

}  // namespace
}  // namespace vexlo
