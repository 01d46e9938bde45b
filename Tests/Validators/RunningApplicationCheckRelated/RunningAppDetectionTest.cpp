// Detection, details, policy and termination of running applications.
#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Fakes/FakePlistManager.h"
#include "Tests/Fakes/FakeRunningApplicationQuery.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetailsProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPolicy.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;

const std::string kFolder = "Validators/RunningApplicationCheckRelated/";

class RunningApplicationsTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeRunningApplicationQuery> query =
      std::make_shared<FakeRunningApplicationQuery>();
  LogCapture log;
};

TEST_F(RunningApplicationsTest, DetectionStopsAtTheFirstIdentifierThatRuns) {
  query->running["B"] = {{.name = "Bee", .processIdentifier = 501}, {.processIdentifier = 502}};
  query->running["C"] = {{.name = "Sea", .processIdentifier = 503}};
  EXPECT_FALSE(RunningAppDetector(query).isAnyAppRunning({"A", "D"}));
  EXPECT_TRUE(RunningAppDetector(query).isAnyAppRunning({"B", "C"}));
  EXPECT_THAT(log.records().back(),
              AllOf(InfoLine("Apps are running for bundleID: B::[Bee (PID 501), B (PID 502)]."),
                    LoggedBy(kFolder + "RunningAppDetector", "isAnyAppRunning(for:)")));
}

TEST_F(RunningApplicationsTest, DetailsAreThoseOfTheFirstInstanceWithAnExecutable) {
  query->running["A"] = {{.name = "Hidden"}, {.executable = "/A.app/a"}, {.executable = "/other"}};
  query->running["B"] = {{.name = "Bee"}};
  RunningAppDetailsProvider provider(query);
  EXPECT_EQ(provider.appDetails("A"), (RunningAppDetails{"A", "/A.app/a"}));
  EXPECT_EQ(provider.appDetails("B"), std::nullopt);
  EXPECT_THAT(
      log.records(),
      AllOf(ElementsAre(InfoLine("App name: A, executable path: /A.app/a for bundleID: A."),
                        ErrorLine("Unable to obtain app name or executable path for bundleID: B.")),
            Each(LoggedBy(kFolder + "RunningAppDetailsProvider", "appDetails(for:)"))));
}

TEST_F(RunningApplicationsTest, EveryInstanceIsKilledOnceAndFollowedByAPause) {
  query->running["B"] = {{.name = "Bee", .processIdentifier = 501},
                         {.processIdentifier = 502, .acceptsKill = false}};
  std::vector<std::chrono::milliseconds> pauses;
  AppKiller(query, [&](auto duration) { pauses.push_back(duration); }).killApps({"A", "B"});
  EXPECT_THAT(query->killRequests, ElementsAre(501, 502));
  EXPECT_THAT(pauses, ElementsAre(std::chrono::seconds(2), std::chrono::seconds(2)));
  EXPECT_THAT(log.records(),
              AllOf(ElementsAre(InfoLine("No running applications found with bundleID: A."),
                                InfoLine("Attempting to terminate app: Bee with PID: 501, "
                                         "Termination status: true."),
                                InfoLine("Attempting to terminate app: Unknown with PID: 502, "
                                         "Termination status: false.")),
                    Each(LoggedBy(kFolder + "AppKiller", "killApps(for:)"))));
}

TEST_F(RunningApplicationsTest, OnlyABooleanTrueTurnsASwitchOn) {
  const auto settings = std::make_shared<FakePlistManager>();
  RunningAppPolicy policy(settings);
  for (const platform::PropertyList& value :
       std::vector<platform::PropertyList>{false, "true", std::int64_t{1}, true}) {
    settings->values = {{"AlwaysKillApps", value}, {"ApplicationRunningPrompt", value}};
    EXPECT_EQ(policy.isAlwaysKillAppsEnabled(), value == true);
    EXPECT_EQ(policy.isPromptEnabled(), value == true);
  }
  EXPECT_EQ(log.records().rbegin()[1].message,
            "Running application check is disabled since AlwaysKillApps is enabled.");
  EXPECT_THAT(log.records().back(),
              AllOf(InfoLine("Prompt for running applications is enabled."),
                    LoggedBy(kFolder + "RunningAppPolicy", "isPromptEnabled()")));
}

}  // namespace
}  // namespace vexlo
