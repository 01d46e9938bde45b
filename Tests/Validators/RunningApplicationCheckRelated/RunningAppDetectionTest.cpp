// Detection, details, policy and termination of running applications.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Fakes/ApplicationBundle.h"
#include "Tests/Fakes/FakePlistManager.h"
#include "Tests/Fakes/FakeRunningApplicationQuery.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetailsProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPolicy.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string kFolder = "Validators/RunningApplicationCheckRelated/";

class RunningApplicationsTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeRunningApplicationQuery> query =
      std::make_shared<FakeRunningApplicationQuery>();
  std::vector<std::chrono::milliseconds> pauses;
  LogCapture log;
  RunningAppDetector detector{query};
  RunningAppDetailsProvider details{query};
  AppKiller killer{query, [this](auto duration) { pauses.push_back(duration); }};
};

TEST_F(RunningApplicationsTest, DetectionStopsAtTheFirstIdentifierThatRuns) {
  query->running["B"] = {{.name = "Bee", .processIdentifier = 501}, {.processIdentifier = 502}};
  query->running["C"] = {{.name = "Sea", .processIdentifier = 503}};
  EXPECT_TRUE(detector.isAnyAppRunning({"A", "B", "C"}));
  EXPECT_THAT(query->asked, ElementsAre("A", "B"));
  EXPECT_THAT(
      log.records(),
      AllOf(
          ElementsAre(InfoLine("No running Apps detected for the bundleID: A."),
                      InfoLine("Apps are running for bundleID: B::[Bee (PID 501), B (PID 502)].")),
          Each(LoggedBy(kFolder + "RunningAppDetector", "isAnyAppRunning(for:)"))));
}

TEST_F(RunningApplicationsTest, NothingRunningIsSaidOfEachIdentifierAndOfAll) {
  EXPECT_FALSE(detector.isAnyAppRunning({"A", "B"}));
  EXPECT_FALSE(detector.isAnyAppRunning({}));
  EXPECT_THAT(log.records(),
              ElementsAre(InfoLine("No running Apps detected for the bundleID: A."),
                          InfoLine("No running Apps detected for the bundleID: B."),
                          InfoLine("No running Apps detected for the bundleIDs: [\"A\", \"B\"]."),
                          InfoLine("No running Apps detected for the bundleIDs: [].")));
}

TEST_F(RunningApplicationsTest, DetailsAreThoseOfTheFirstInstanceWithAnExecutable) {
  query->running["A"] = {{.name = "Hidden"}, {.executable = "/A.app/a"}, {.executable = "/other"}};
  query->running["B"] = {{.name = "Bee", .executable = "/B.app/b"}};
  EXPECT_EQ(details.appDetails("A"), (RunningAppDetails{"A", "/A.app/a"}));
  EXPECT_EQ(details.appDetails("B"), (RunningAppDetails{"Bee", "/B.app/b"}));
  EXPECT_THAT(
      log.records(),
      AllOf(ElementsAre(InfoLine("App name: A, executable path: /A.app/a for bundleID: A."),
                        InfoLine("App name: Bee, executable path: /B.app/b for bundleID: B.")),
            Each(LoggedBy(kFolder + "RunningAppDetailsProvider", "appDetails(for:)"))));
}

TEST_F(RunningApplicationsTest, WithoutAnExecutableThereAreNoDetails) {
  query->running["A"] = {{.name = "Hidden"}};
  EXPECT_EQ(details.appDetails("A"), std::nullopt);
  EXPECT_EQ(details.appDetails("gone"), std::nullopt);
  EXPECT_THAT(
      log.records(),
      ElementsAre(ErrorLine("Unable to obtain app name or executable path for bundleID: A."),
                  ErrorLine("Unable to obtain app name or executable path for bundleID: "
                            "gone.")));
}

TEST_F(RunningApplicationsTest, EveryInstanceIsKilledOnceAndFollowedByAPause) {
  query->running["B"] = {{.name = "Bee", .processIdentifier = 501},
                         {.processIdentifier = 502, .acceptsKill = false}};
  killer.killApps({"A", "B"});
  EXPECT_THAT(query->killRequests, ElementsAre(501, 502));
  EXPECT_THAT(pauses, ElementsAre(std::chrono::seconds(2), std::chrono::seconds(2)));
  EXPECT_THAT(query->asked, ElementsAre("A", "B"));
  EXPECT_THAT(log.records(),
              AllOf(ElementsAre(InfoLine("No running applications found with bundleID: A."),
                                InfoLine("Attempting to terminate app: Bee with PID: 501, "
                                         "Termination status: true."),
                                InfoLine("Attempting to terminate app: Unknown with PID: 502, "
                                         "Termination status: false.")),
                    Each(LoggedBy(kFolder + "AppKiller", "killApps(for:)"))));
  log.clear();
  killer.killApps({});
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RunningApplicationsTest, RealInstancesAreFoundNamedAndKilled) {
  const TemporaryDirectory directory;
  ApplicationBundle bundle(
      directory.path(),
      {.name = "Editor", .identifier = "com.example.vexlo.editor", .displayName = "Text Editor"});
  const auto system = std::make_shared<SystemRunningApplicationQuery>();
  const std::vector<std::string> bundleIDs{"com.example.vexlo.editor"};
  EXPECT_FALSE(RunningAppDetector(system).isAnyAppRunning(bundleIDs));
  const pid_t first = bundle.start();
  const pid_t second = bundle.start();
  EXPECT_TRUE(RunningAppDetector(system).isAnyAppRunning(bundleIDs));
  EXPECT_EQ(RunningAppDetailsProvider(system).appDetails(bundleIDs.front()),
            (RunningAppDetails{"Text Editor", bundle.executable()}));
  AppKiller(system, [this](auto duration) { pauses.push_back(duration); }).killApps(bundleIDs);
  EXPECT_EQ(bundle.endOf(first), SIGKILL);
  EXPECT_EQ(bundle.endOf(second), SIGKILL);
  EXPECT_THAT(pauses, SizeIs(2));
  EXPECT_FALSE(RunningAppDetector(system).isAnyAppRunning(bundleIDs));
}

TEST(RunningAppPolicyTest, OnlyABooleanTrueTurnsASwitchOn) {
  const auto settings = std::make_shared<FakePlistManager>();
  const LogCapture log;
  RunningAppPolicy policy(settings);
  const auto isOn = [&](const std::string& key,
                        const std::optional<platform::PropertyList>& value) {
    settings->updateValue(value, key);
    return key == "AlwaysKillApps" ? policy.isAlwaysKillAppsEnabled() : policy.isPromptEnabled();
  };
  for (const std::string key : {"AlwaysKillApps", "ApplicationRunningPrompt"}) {
    EXPECT_TRUE(isOn(key, true)) << key;
    for (const std::optional<platform::PropertyList>& off :
         {std::optional<platform::PropertyList>(), std::optional<platform::PropertyList>(false),
          std::optional<platform::PropertyList>("true"),
          std::optional<platform::PropertyList>(std::int64_t{1})}) {
      EXPECT_FALSE(isOn(key, off)) << key;
    }
  }
}

TEST(RunningAppPolicyTest, SaysHowTheSwitchesStand) {
  const auto settings = std::make_shared<FakePlistManager>();
  RunningAppPolicy policy(settings);
  const LogCapture log;
  static_cast<void>(policy.isAlwaysKillAppsEnabled());
  static_cast<void>(policy.isPromptEnabled());
  settings->values = {{"AlwaysKillApps", true}, {"ApplicationRunningPrompt", true}};
  static_cast<void>(policy.isAlwaysKillAppsEnabled());
  static_cast<void>(policy.isPromptEnabled());
  const auto killLine = [](const std::string& message) {
    return AllOf(InfoLine(message),
                 LoggedBy(kFolder + "RunningAppPolicy", "isAlwaysKillAppsEnabled()"));
  };
  const auto promptLine = [](const std::string& message) {
    return AllOf(InfoLine(message), LoggedBy(kFolder + "RunningAppPolicy", "isPromptEnabled()"));
  };
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          killLine("Running application check is enabled since AlwaysKillApps is not enabled."),
          promptLine("Prompt for running applications is disabled."),
          killLine("Running application check is disabled since AlwaysKillApps is enabled."),
          promptLine("Prompt for running applications is enabled.")));
}

TEST(RunningAppPolicyTest, TheSwitchesStandInThePatchDataFile) {
  const std::string expected = testAgentDirectories().file("data/vxpatch_data.plist");
  EXPECT_EQ(RunningAppPolicyConstants::plistPath(), expected);
}

}  // namespace
}  // namespace vexlo
