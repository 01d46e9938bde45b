// The prompt: its command, the wait, the answer, the clean-up; with real prompt applications last.
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Platform/RunLoop.h"
#include "Tests/Fakes/ApplicationBundle.h"
#include "Tests/Fakes/FakeRunningApplicationQuery.h"
#include "Tests/Fakes/FakeUserSessionProvider.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCleaner.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Decision = RunningAppPromptDecision;
using Evaluation = RunningAppPromptEvaluation;

const std::string kFile = "Validators/RunningApplicationCheckRelated/RunningAppUserAck";
const std::string kRequest = "requestUserAcknowledgement(for:using:timeout:)";
const std::string kBundleID = "com.tervane.ApplicationRunningPrompt";
constexpr const char* kAnswerFile = "logs/UserLogs/ApplicationRunningPromptretcode.txt";
constexpr const char* kPromptApp =
    "base/bin/VexloAppRunningNotifier.app/Contents/MacOS/VexloAppRunningNotifier";

class FakeTrueParentTracking final : public vxutils::TrueParentTracking {
 public:
  bool accepts = true;
  std::vector<std::string> names;
  bool registerAsTrueParent(const std::string& programName) override {
    names.push_back(programName);
    return accepts;
  }
};

class FakePromptCleaner final : public RunningAppPromptCleaning {
 public:
  int timesCleaned = 0;
  void clean() override { ++timesCleaned; }
};

/// Gives one answer and records what it was asked to run.
class RecordingExecutor final : public CommandExecutor {
 public:
  using Call = std::tuple<std::string, std::optional<std::string>, std::optional<std::string>>;
  CommandResult answer;
  std::vector<Call> calls;
  CommandResult run(const std::string& command, const std::optional<std::string>& launchPath,
                    const std::optional<std::string>& pipeInput) override {
    calls.emplace_back(command, launchPath, pipeInput);
    return answer;
  }
};

class FakeAppKiller final : public AppKilling {
 public:
  std::vector<std::string> killed;
  void killApps(const std::vector<std::string>& bundleIDs) override {
    killed.insert(killed.end(), bundleIDs.begin(), bundleIDs.end());
  }
};

/// A prompt that is made up, in the test program's agent directories.
class RunningAppPromptPresenterTest : public ::testing::Test {
 protected:
  ~RunningAppPromptPresenterTest() override { std::filesystem::remove_all(agent.file("logs")); }

  bool ask(const std::vector<std::string>& names, const Evaluation& evaluation,
           std::int64_t timeoutSeconds) {
    RunningAppPromptPresenter presenter(executor, session, cleaner, std::make_shared<FileUtils>(),
                                        query, parent,
                                        {.macOSMajorVersion = [this] { return macOSMajorVersion; },
                                         .runLoop =
                                             [this](std::chrono::milliseconds duration) {
                                               EXPECT_EQ(duration, std::chrono::seconds(1));
                                               ++passes;
                                               onPass();
                                               return hasInputSource;
                                             }});
    return presenter.requestUserAcknowledgement(names, evaluation, timeoutSeconds);
  }
  void promptRuns(bool running) {
    query->running[kBundleID] = std::vector<ApplicationFacts>(running ? 1 : 0);
  }

  const TemporaryDirectory& agent = testAgentDirectories();
  std::shared_ptr<RecordingExecutor> executor = std::make_shared<RecordingExecutor>();
  std::shared_ptr<FakeUserSessionProvider> session = std::make_shared<FakeUserSessionProvider>();
  std::shared_ptr<FakePromptCleaner> cleaner = std::make_shared<FakePromptCleaner>();
  std::shared_ptr<FakeRunningApplicationQuery> query =
      std::make_shared<FakeRunningApplicationQuery>();
  std::shared_ptr<FakeTrueParentTracking> parent = std::make_shared<FakeTrueParentTracking>();
  std::int64_t macOSMajorVersion = 13;
  bool hasInputSource = true;
  int passes = 0;
  std::function<void()> onPass = [] {};
  LogCapture log;
};

TEST_F(RunningAppPromptPresenterTest, TheUserAgreesInTheSecondPass) {
  promptRuns(true);
  executor->answer = {.exitCode = 0, .output = "opened"};
  onPass = [this] {
    if (passes == 2) {
      agent.write(kAnswerFile, "94\n");
      promptRuns(false);
    }
  };
  EXPECT_TRUE(ask({"Safari", "Mail"}, {2, false, Decision::promptUser}, 930));
  const std::string command =
      "open -g -a \"" + agent.file(kPromptApp) + "\" --args \"Safari, Mail\" \"2\" \"false\"";
  EXPECT_THAT(executor->calls,
              ElementsAre(RecordingExecutor::Call(command, "/bin/sh", std::nullopt)));
  EXPECT_THAT(parent->names, ElementsAre("VexloAppRunningNotifier"));
  EXPECT_THAT(query->asked, ElementsAre(kBundleID, kBundleID));
  EXPECT_EQ(cleaner->timesCleaned, 1);
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("Launching prompt with command: " + command),
                                LoggedBy(kFile, kRequest)),
                          AllOf(InfoLine("output: opened, exitCode: 0"), LoggedBy(kFile, kRequest)),
                          AllOf(InfoLine("Prompt app exited."),
                                LoggedBy(kFile, "waitForPromptDismissal(timeout:)")),
                          AllOf(InfoLine("User acknowledgement received: true (return code: 94)."),
                                LoggedBy(kFile, "readUserAcknowledgement(fallback:)"))));
}

TEST_F(RunningAppPromptPresenterTest, TheFormOfTheCommandFollowsVersionAndScreenGrab) {
  const std::string app = '"' + agent.file(kPromptApp) + '"';
  const auto commandOf = [&](std::int64_t version, const Evaluation& evaluation,
                             const std::vector<std::string>& names) {
    macOSMajorVersion = version;
    executor->calls.clear();
    static_cast<void>(ask(names, evaluation, 0));
    return std::get<0>(executor->calls.at(0));
  };
  EXPECT_EQ(commandOf(12, {0, true, Decision::forceDeployment}, {"Safari"}),
            "open -a " + app + R"( --args "Safari" "0" "true")");
  EXPECT_EQ(commandOf(11, {2, true, Decision::promptUser}, {"Safari", "Mail"}),
            "sudo -u alice " + app + R"( "Safari, Mail" "2" "true")");
  EXPECT_EQ(commandOf(12, {1, false, Decision::promptUser}, {R"(A "B" $C `d` \e)"}),
            "open -g -a " + app + R"( --args "A \"B\" \$C \`d\` \\e" "1" "false")");
  session->consoleUser = "al;ice";
  EXPECT_EQ(commandOf(10, {2, false, Decision::promptUser}, {}),
            "sudo -u 'al;ice' " + app + R"( "" "2" "false")");
}

TEST_F(RunningAppPromptPresenterTest, WhatIsNotLaunchedIsNotWaitedForAndCountsAsNo) {
  const Evaluation forced{0, true, Decision::forceDeployment};
  agent.write(kAnswerFile, "94");
  parent->accepts = false;
  EXPECT_FALSE(ask({"Mail"}, forced, 930));
  EXPECT_THAT(executor->calls, IsEmpty());
  EXPECT_THAT(log.records().back(),
              AllOf(InfoLine("Failed to register as true parent for the VexloAppRunningNotifier."),
                    LoggedBy(kFile, kRequest)));
  parent->accepts = true;
  executor->answer = {.exitCode = 1, .output = "no such application"};
  EXPECT_FALSE(ask({"Mail"}, forced, 930));
  EXPECT_EQ(passes, 0);
  EXPECT_EQ(cleaner->timesCleaned, 2);
  EXPECT_THAT(log.records().back(), AllOf(InfoLine("Failed to launch the running app prompt."),
                                          LoggedBy(kFile, kRequest)));
}

TEST_F(RunningAppPromptPresenterTest, ThePromptIsWaitedForUntilTheTimeOut) {
  promptRuns(true);
  for (const auto& [timeout, expectedPasses] :
       {std::pair<std::int64_t, int>{-5, 1}, {0, 1}, {1, 2}, {3, 4}}) {
    passes = 0;
    log.clear();
    EXPECT_FALSE(ask({"Mail"}, {1, false, Decision::promptUser}, timeout));
    EXPECT_EQ(passes, expectedPasses);
    EXPECT_THAT(log.records(), Contains(InfoLine("User acknowledgement timed out after " +
                                                 std::to_string(timeout) + " seconds.")));
  }
  hasInputSource = false;
  passes = 0;
  log.clear();
  EXPECT_TRUE(ask({"Mail"}, {0, true, Decision::forceDeployment}, 930));
  EXPECT_EQ(passes, 1);
  EXPECT_THAT(log.records(), ElementsAre(::testing::_, InfoLine("output: , exitCode: 0"),
                                         InfoLine("Return code file not found. Returning "
                                                  "fallback: true.")));
}

struct AnswerCase {
  const char* name;
  std::string content;
  std::optional<std::int64_t> code;  ///< Absent: no integer.
};

class PromptAnswerTest : public RunningAppPromptPresenterTest,
                         public ::testing::WithParamInterface<AnswerCase> {};

TEST_P(PromptAnswerTest, IsANumberOrTheFallback) {
  agent.write(kAnswerFile, GetParam().content);
  for (const bool fallback : {false, true}) {
    const bool answer =
        ask({"Mail"}, {0, true, fallback ? Decision::forceDeployment : Decision::promptUser}, 0);
    const std::string word = answer ? "true" : "false";
    if (GetParam().code) {
      EXPECT_EQ(answer, GetParam().code == 94);
      EXPECT_THAT(log.records().back(),
                  InfoLine("User acknowledgement received: " + word +
                           " (return code: " + std::to_string(*GetParam().code) + ")."));
    } else {
      EXPECT_EQ(answer, fallback);
      EXPECT_THAT(log.records().back(), InfoLine("Return code file content is invalid. Returning "
                                                 "fallback: " +
                                                 word + "."));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Contents, PromptAnswerTest,
    ::testing::Values(AnswerCase{"LineBreak", "94\n", 94}, AnswerCase{"BlanksAndSign", " +94 ", 94},
                      AnswerCase{"LeadingZero", "\r\n\t094\r\n", 94}, AnswerCase{"One", "1", 1},
                      AnswerCase{"Negative", "-94", -94},
                      AnswerCase{"Fraction", "94.0", std::nullopt},
                      AnswerCase{"Word", "yes", std::nullopt},
                      AnswerCase{"Empty", "", std::nullopt},
                      AnswerCase{"OnlyBlanks", " \n", std::nullopt},
                      AnswerCase{"TwoNumbers", "94 94", std::nullopt},
                      AnswerCase{"NulByte", std::string("94\0", 3), std::nullopt},
                      AnswerCase{"Overflow", "9223372036854775808", std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

/// What a user could put in the answer file's place.
struct HostileFileCase {
  const char* name;
  std::function<void(const std::string& path)> make;
};

class HostileAnswerFileTest : public RunningAppPromptPresenterTest,
                              public ::testing::WithParamInterface<HostileFileCase> {};

TEST_P(HostileAnswerFileTest, IsUnreadableAndNeverBlocks) {
  const std::string path = agent.file(kAnswerFile);
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  GetParam().make(path);
  EXPECT_FALSE(ask({"Mail"}, {1, false, Decision::promptUser}, 0));
  EXPECT_THAT(log.records().back(),
              AllOf(Field(&LogRecord::message, StartsWith("Failed to read return code file. "
                                                          "Returning fallback: false. Error: " +
                                                          path)),
                    LoggedBy(kFile, "readUserAcknowledgement(fallback:)")));
}

INSTANTIATE_TEST_SUITE_P(
    Files, HostileAnswerFileTest,
    ::testing::Values(
        HostileFileCase{"LinkToAnAnswer",
                        [](const std::string& path) {
                          std::ofstream(path + ".target") << "94";
                          std::filesystem::create_symlink(path + ".target", path);
                        }},
        HostileFileCase{
            "Device",
            [](const std::string& path) { std::filesystem::create_symlink("/dev/zero", path); }},
        HostileFileCase{"NamedPipe",
                        [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        HostileFileCase{"Directory",
                        [](const std::string& path) { std::filesystem::create_directory(path); }},
        HostileFileCase{
            "LargeFile",
            [](const std::string& path) { std::ofstream(path) << "94" << std::string(5000, ' '); }},
        HostileFileCase{"OtherEncoding",
                        [](const std::string& path) { std::ofstream(path) << "94\xA0"; }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(RunningAppPromptPresenterTest, CleaningKillsThePromptAndRemovesItsAnswer) {
  const auto killer = std::make_shared<FakeAppKiller>();
  RunningAppPromptCleaner real(killer, std::make_shared<FileUtils>());
  const std::string path = agent.write(kAnswerFile, "94");
  real.clean();
  EXPECT_FALSE(std::filesystem::exists(path));
  real.clean();
  EXPECT_THAT(killer->killed, ElementsAre(kBundleID, kBundleID));
  EXPECT_THAT(log.records(), AllOf(ElementsAre(InfoLine("Removing file: " + path + " - 0"),
                                               InfoLine("Removing file: " + path + " - 2")),
                                   Each(LoggedBy("Validators/RunningApplicationCheckRelated/"
                                                 "RunningAppPromptCleaner",
                                                 "clean()"))));
}

/// Real processes: the terminal utility, a shell, stand-ins for the system's tools, and a prompt
/// application in its bundle.
class RealPromptTest : public ::testing::Test {
 protected:
  RealPromptTest() {
    addTool("open",
            "[ \"$1\" = -g ] && shift\n"
            "program=$2; shift 3\n"
            "\"$program\" \"$@\" </dev/null >/dev/null 2>&1 &\n"
            "until [ -e \"" +
                shown + "\" ]; do sleep 0.01; done\n");
    addTool("sudo", "shift 2\nexec \"$@\"\n");
    mkfifo(agent.file("never").c_str(), 0600);
    setenv("PATH", (agent.file("tools") + ":" + path).c_str(), 1);
  }
  ~RealPromptTest() override {
    setenv("PATH", path.c_str(), 1);
    for (const char* left : {"base", "logs", "tools", "never", "arguments", "shown"}) {
      std::filesystem::remove_all(agent.file(left));
    }
  }

  void addTool(const std::string& name, const std::string& script) const {
    std::filesystem::permissions(agent.write("tools/" + name, "#!/bin/sh\n" + script),
                                 std::filesystem::perms::owner_all);
  }
  /// Asks with a prompt application that behaves as the shell text says.
  bool ask(std::int64_t macOSMajorVersion, const std::string& behaviour, Decision decision,
           std::int64_t timeoutSeconds = 600) {
    prompt.replaceProgramBy("#!/bin/sh\nprintf '%s\\n' \"$@\" >\"" + agent.file("arguments") +
                            "\"\n: >\"" + shown + "\"\n" + behaviour + "\n");
    const auto query = std::make_shared<SystemRunningApplicationQuery>();
    const auto killer = std::make_shared<AppKiller>(query, [](auto /*duration*/) {});
    RunningAppPromptPresenter presenter(
        std::shared_ptr<CommandExecutor>(&TerminalUtil::defaultInstance(), [](auto* /*shared*/) {}),
        std::make_shared<FakeUserSessionProvider>(),
        std::make_shared<RunningAppPromptCleaner>(killer, std::make_shared<FileUtils>()),
        std::make_shared<FileUtils>(), query, std::make_shared<vxutils::ProcessInformation>(),
        {.macOSMajorVersion = [=] { return macOSMajorVersion; },
         .runLoop =
             [](auto /*second*/) {
               return RunningAppPromptSurroundings::runCurrentRunLoop(
                   std::chrono::milliseconds(20));
             }});
    const std::vector<std::string> names{"Say \"hi\"", "$(touch " + agent.file("shown") + ".bad)"};
    const bool answer =
        presenter.requestUserAcknowledgement(names, {2, false, decision}, timeoutSeconds);
    EXPECT_EQ(agent.read("arguments"),
              "Say \"hi\", $(touch " + agent.file("shown") + ".bad)\n2\nfalse\n");
    EXPECT_FALSE(std::filesystem::exists(agent.file("shown") + ".bad"));
    EXPECT_FALSE(std::filesystem::exists(agent.file(kAnswerFile)));
    std::filesystem::remove(shown);
    return answer;
  }
  [[nodiscard]] std::string answering(const std::string& code) const {
    const std::string file = agent.file(kAnswerFile);
    return "mkdir -p \"$(dirname '" + file + "')\"; echo " + code + " >'" + file + "'";
  }

  const TemporaryDirectory& agent = testAgentDirectories();
  const std::string path = getenv("PATH");
  const std::string shown = agent.file("shown");
  const ApplicationBundle prompt{agent.file("base/bin"),
                                 {.name = "VexloAppRunningNotifier", .identifier = kBundleID}};
  const std::shared_ptr<platform::RunLoop::Source> inputSource =
      platform::RunLoop::current().addSource([] {});
  LogCapture log;
};

TEST_F(RealPromptTest, AnswersCrashesAndSilenceAreTold) {
  for (const std::int64_t version : {11, 14}) {
    EXPECT_TRUE(ask(version, answering("94"), Decision::promptUser));
    EXPECT_FALSE(ask(version, answering("1"), Decision::forceDeployment));
  }
  EXPECT_FALSE(ask(11, answering("94") + "; kill -9 $$", Decision::forceDeployment));
  EXPECT_TRUE(ask(14, "kill -9 $$", Decision::forceDeployment));
  EXPECT_TRUE(
      ask(14, "read -r answer <\"" + agent.file("never") + '"', Decision::forceDeployment, 2));
  EXPECT_THAT(log.records(), Contains(InfoLine("User acknowledgement timed out after 2 seconds.")));
}

}  // namespace
}  // namespace vexlo
