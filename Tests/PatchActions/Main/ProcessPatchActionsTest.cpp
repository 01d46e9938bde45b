#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Tests/Fakes/FakeProcessingDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using Result = PatchActionResult;

constexpr auto kFile = "PatchActions/Main/ProcessPatchActions";

/// A processor over a decoded file and lent collaborators.
class Processor final : public ProcessPatchActions {
 public:
  Processor(const std::string& actionsOfPatch7, const std::shared_ptr<FakeMac>& mac)
      : ProcessPatchActions(
            {"7", "p", "s"},
            std::make_shared<const PatchActionGroup>(PatchActionGroup::decode(
                R"({"PatchActions":{"7":)" + actionsOfPatch7 + "}}", "actions.json")),
            std::make_unique<FakeProcessingDependencies>(mac)) {}
  PatchActionResult executeAll() { return execute(); }
};

class ProcessPatchActionsTest : public ::testing::Test {
 protected:
  void SetUp() override { vxutils::gv_globvars.setAppleSiliconMachine(true); }
  void TearDown() override { vxutils::gv_globvars.setAppleSiliconMachine(std::nullopt); }

  /// Runs the action of a patch that has this one, such as `"2005":["20"]`.
  Result run(const std::string& action) {
    return Processor('{' + action + '}', mac).execute(ActionID(action.substr(1, 4)));
  }
  static Result later(PlainReason reason) { return Result::applyLater(reason); }

  const std::shared_ptr<FakeMac> mac = std::make_shared<FakeMac>();
  LogCapture log;
};

TEST_F(ProcessPatchActionsTest, AnActionThatThePatchLacksPasses) {
  Processor processor(R"({"2003":["x"]})", mac);
  EXPECT_EQ(processor.arguments(KnownAction::minimumDiskSpaceCheck), std::nullopt);
  EXPECT_EQ(processor.execute(UndefinedAction{"2003"}), Result::success());
  EXPECT_THAT(log.records().back(),
              AllOf(DebugLine("No action details found for actionID: undefined(\"2003\"), "
                              "considering as success."),
                    LoggedBy(kFile, "execute(for:)")));
  EXPECT_EQ(processor.execute(KnownAction::userLoggedInCheck), Result::success());
  EXPECT_THAT(log.records().back(),
              InfoLine("Patch action result for action detail (actionID: userLoggedInCheck, "
                       "arguments: [\"x\"]) : success."));
}

TEST_F(ProcessPatchActionsTest, ChecksMeasureTheMac) {
  mac->powerSource = BatteryPower{.percentage = 20};
  mac->freeBytes = 20'000'000'000;
  const Result noBattery = later(PlainReason::inSufficientBattery);
  const Result noSpace = later(PlainReason::inSufficientDiskSpaceForSoftwareUpdate);
  EXPECT_EQ(run(R"("2001":["20"])"), Result::success());
  EXPECT_EQ(run(R"("2001":["+21","x"])"), noBattery);
  EXPECT_EQ(run(R"("2002":["bad"])"), Result::success());
  vxutils::gv_globvars.setAppleSiliconMachine(false);
  EXPECT_EQ(run(R"("2001":[])"), Result::success());
  EXPECT_EQ(run(R"("2002":["21"])"), noBattery);
  EXPECT_EQ(run(R"("2005":["20"])"), Result::success());
  EXPECT_EQ(run(R"("2005":["21"])"), noSpace);
  mac->freeBytes = std::numeric_limits<std::int64_t>::max() - 1;
  EXPECT_EQ(run(R"("2005":["9223372036854775807"])"), noSpace);
  EXPECT_EQ(run(R"("2005":["-9223372036854775808"])"), Result::success());
}

TEST_F(ProcessPatchActionsTest, MissingOrUnreadableArgumentsAreInsufficient) {
  for (const char* action : {R"("2001":[])", R"("2001":[" 20"])", R"("2001":["20%"])",
                             R"("2005":[""])", R"("2005":["9223372036854775808"])",
                             R"("2007":["14.5"])", R"("2008":[])", R"("2010":[])"}) {
    EXPECT_EQ(run(action), later(PlainReason::inSufficientArguments)) << action;
  }
}

TEST_F(ProcessPatchActionsTest, RunningApplicationsAreAskedForInThisOrder) {
  const std::string check = R"("2008":["com.c","com.b","com.a"])";
  EXPECT_EQ(run(check), Result::success());
  mac->running = {{"com.b", std::nullopt}};
  EXPECT_EQ(run(check), later(PlainReason::appIsRunning));
  mac->promptEnabled = true;
  EXPECT_EQ(run(check), Result::success());
  EXPECT_THAT(
      log.records(),
      Contains(AllOf(ErrorLine("Unable to obtain app names for the following bundle IDs: "
                               "[\"com.c\", \"com.b\", \"com.a\"]. Considering as no app is "
                               "running."),
                     LoggedBy(kFile, "applicationRunningCheck(for:using:)"))));
  mac->running = {{"com.a", "Zebra"}, {"com.b", std::nullopt}, {"com.c", "Apple"}};
  mac->decision = RunningAppPromptDecision::skipDeployment;
  EXPECT_EQ(run(check), later(PlainReason::appIsRunning));
  mac->alwaysKill = true;
  EXPECT_EQ(run(check), Result::success());
  const std::string evaluate = "evaluate com.c,com.b,com.a for 7";
  EXPECT_THAT(mac->events,
              ElementsAre("detect", "detect", "kill?", "prompt?", "detect", "kill?", "prompt?",
                          "detect", "kill?", "prompt?", evaluate, "detect", "kill?", "kill 3"));
}

TEST_F(ProcessPatchActionsTest, OnlyAnAgreedPromptKills) {
  const std::string check = R"("2008":["com.c","com.b","com.a"])";
  mac->running = {{"com.a", "Zebra"}, {"com.b", std::nullopt}, {"com.c", "Apple"}};
  mac->promptEnabled = true;
  mac->userAgrees = true;
  EXPECT_EQ(run(check), Result::success(GotUserAcknowledgementForPatchingRunningApplications{
                            {{"com.a", "Zebra"}, {"com.c", "Apple"}}}));
  EXPECT_THAT(mac->events,
              ElementsAre("detect", "kill?", "prompt?", "evaluate com.c,com.b,com.a for 7", "clean",
                          "ask for Zebra to Apple, 930 s", "kill 3"));
  mac->userAgrees = false;
  mac->customizationFile.emplace().skipTimerCount = 5;
  EXPECT_EQ(run(check), later(PlainReason::appIsRunning));
  EXPECT_EQ(mac->events.back(), "ask for Zebra to Apple, 330 s");
  mac->customizationFile->skipTimerCount = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(run(check), later(PlainReason::appIsRunning));
  EXPECT_EQ(mac->events.back(), "ask for Zebra to Apple, 9223372036854775807 s");
}

TEST_F(ProcessPatchActionsTest, RunningAllActionsStopsAtTheFirstThatDoesNotPass) {
  mac->freeBytes = 0;
  mac->session->consoleUser = "NOUSERNAME";
  Processor processor(R"({"2005":["1"],"2003":[],"-1":[]})", mac);
  EXPECT_EQ(processor.executeAll(), later(PlainReason::userNotLoggedIn));
  mac->session->consoleUser = "alice";
  mac->freeBytes = 1'000'000'000;
  EXPECT_EQ(processor.executeAll(), Result::success());
}

TEST(ProcessPatchActionsFileTest, AnUnusableFileIsLoggedAndThrownByEveryProcessor) {
  const TemporaryDirectory directory;
  vxutils::gv_globvars.setDirectories({.base = directory.path(), .data = {}, .logs = {}});
  const std::string path = directory.path() + "/client-data/patch-resources/mac-patch-actions.json";
  const LogCapture log;
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_THROW(ProcessPatchActions({"7", "p", "s"}), PatchActionFileError);
    EXPECT_THAT(log.records().back(), LoggedBy(kFile, "init(for:)"));
    EXPECT_THAT(
        log.records().back().message,
        ::testing::StartsWith("Unable to evaluate patch actions for patchID: 7. Error: " + path));
  }
  EXPECT_EQ(log.records().size(), 3U);  // the parser's line comes once
  vxutils::gv_globvars.setDirectories({});
}

}  // namespace
}  // namespace vexlo
