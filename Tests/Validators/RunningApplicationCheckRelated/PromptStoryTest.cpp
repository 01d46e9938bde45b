// What happens in which order when the user is asked to close applications, and when they are
// killed.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/Story.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppUserAck.h"

namespace vexlo {
namespace {

using ::testing::ElementsAre;

struct FakeApplication final : RunningApplication {
  explicit FakeApplication(bool willEnd) : ends(willEnd) {}
  std::optional<std::string> localizedName() const override { return std::nullopt; }
  std::int32_t processIdentifier() const override { return 7; }
  std::optional<std::string> executableURL() const override { return std::nullopt; }
  bool forceTerminate() override { return ends; }
  bool ends;
};

/// Has the given applications at each question, one after the other; none at later ones.
struct FakeQuery final : RunningApplicationQuerying {
  std::vector<bool> refusals;  ///< For each application of an answer: whether it refuses to end.
  int questions = 0;
  int lastWithApplications = 1;
  std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& /*bundleIdentifier*/) override {
    std::vector<std::unique_ptr<RunningApplication>> found;
    if (++questions <= lastWithApplications) {
      for (const bool refuses : refusals) {
        found.push_back(std::make_unique<FakeApplication>(!refuses));
      }
    }
    return found;
  }
};

class PromptStoryTest : public ::testing::Test,
                        public UserSessionProvider,
                        public RunningAppPromptCleaning,
                        public SystemFileManager,
                        public vxutils::TrueParentTracking {
 protected:
  PromptStoryTest() { testAgentDirectories(); }
  ~PromptStoryTest() override { std::filesystem::remove(file()); }

  bool ask(RunningAppPromptDecision decision, std::int64_t timeout) {
    RunningAppPromptPresenter presenter(executor, *this, *this, *this, query, *this,
                                        {.macOSMajorVersion = [] { return 14; },
                                         .runLoop =
                                             [&](auto time) {
                                               story.sleep(time);
                                               onPass();
                                               return true;
                                             }});
    return presenter.requestUserAcknowledgement(
        {"Safari"}, {.remainingSkipAttempts = 2, .allowScreenGrab = true, .decision = decision},
        timeout);
  }
  static const std::string& file() {
    return RunningAppPromptPresenterConstants::returnCodeFilePath();
  }

  std::string currentConsoleUserName() override { return "nobody"; }
  std::optional<std::string> loggedOnUsers() override { return "nobody"; }
  void clean() override { story.events.emplace_back("clean"); }
  std::int32_t removeFile(const std::string& /*path*/) override { return 0; }
  bool isFileExist(const std::string& path) override { return std::filesystem::exists(path); }
  bool registerAsTrueParent(const std::string& name) override {
    story.events.push_back("register " + name);
    return true;
  }

  Story story;
  StoryExecutor executor{story};
  FakeQuery query;
  std::function<void()> onPass = [] {};
};

TEST_F(PromptStoryTest, ForcedAndUnansweredForTwoSeconds) {
  query.refusals = {true};
  query.lastWithApplications = 9;
  EXPECT_TRUE(ask(RunningAppPromptDecision::forceDeployment, 2));
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

TEST_F(PromptStoryTest, OnlyReturnCode94IsConsent) {
  for (const auto& [code, agreed] :
       {std::pair{"94", true}, {"93", false}, {"95", false}, {"-94", false}, {"0", false}}) {
    std::filesystem::create_directories(std::filesystem::path(file()).parent_path());
    onPass = [answer = code] { std::ofstream(file()) << answer; };
    story.events.clear();
    query.questions = query.lastWithApplications;
    EXPECT_EQ(ask(RunningAppPromptDecision::forceDeployment, 30), agreed) << code;
    EXPECT_THAT(std::vector(story.events.end() - 3, story.events.end()),
                ElementsAre("info waitForPromptDismissal(timeout:): Prompt app exited.",
                            std::string("info readUserAcknowledgement(fallback:): User "
                                        "acknowledgement received: ") +
                                (agreed ? "true" : "false") + " (return code: " + code + ").",
                            "clean"));
  }
}

TEST_F(PromptStoryTest, PausesAfterEachKillAcceptedOrNot) {
  query.refusals = {false, true};
  AppKiller(query, [&](auto time) { story.sleep(time); }).killApps({"a", "b"});
  const std::string attempt =
      "info killApps(for:): Attempting to terminate app: Unknown with PID: 7, Termination status: ";
  EXPECT_THAT(
      story.events,
      ElementsAre(attempt + "true.", "pause of 2000 ms", attempt + "false.", "pause of 2000 ms",
                  "info killApps(for:): No running applications found with bundleID: b."));
}

}  // namespace
}  // namespace vexlo
