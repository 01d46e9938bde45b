#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Tests/Fakes/ExamplePatchActions.h"
#include "Tests/Fakes/FakeProcessingDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto kFile = "PatchActions/Main/ProcessPatchActions";
constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

auto MessageLike(const ::testing::Matcher<std::string>& message) {
  return Field("message", &LogRecord::message, message);
}

/// A processor over a decoded file and lent collaborators.
class Processor final : public ProcessPatchActions {
 public:
  Processor(const std::string& actionsOfPatch7, const std::shared_ptr<FakeMac>& mac)
      : ProcessPatchActions(
            {"7", "p", "s"},
            std::make_shared<const PatchActionGroup>(PatchActionGroup::decode(
                R"({"PatchActions":{"7":)" + actionsOfPatch7 + "}}", "actions.json")),
            std::make_unique<FakeProcessingDependencies>(mac)),
        mac_(mac) {}
  PatchActionResult executeAll() { return execute(); }

 private:
  [[nodiscard]] bool isEnrolledInMDM() const override { return mac_->enrolled; }
  std::shared_ptr<FakeMac> mac_;
};

class ProcessPatchActionsTest : public ::testing::Test {
 protected:
  void SetUp() override { vxutils::gv_globvars.setAppleSiliconMachine(true); }
  void TearDown() override { vxutils::gv_globvars.setAppleSiliconMachine(std::nullopt); }

  /// Runs one action of a patch whose own actions are `actions`.
  PatchActionResult run(const std::string& actions, KnownAction action) {
    return Processor(actions, mac).execute(action);
  }

  const std::shared_ptr<FakeMac> mac = std::make_shared<FakeMac>();
  LogCapture log;
};

using Result = PatchActionResult;

TEST_F(ProcessPatchActionsTest, AnActionThatThePatchLacksPassesAndRunsNothing) {
  Processor processor(R"({"2003":[]})", mac);
  EXPECT_EQ(processor.arguments(KnownAction::minimumDiskSpaceCheck), std::nullopt);
  EXPECT_THAT(*processor.arguments(KnownAction::userLoggedInCheck), IsEmpty());
  log.clear();
  EXPECT_EQ(processor.execute(KnownAction::minimumDiskSpaceCheck), Result::success());
  EXPECT_EQ(processor.execute(UndefinedAction{"2003"}), Result::success());
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(DebugLine("No action details found for actionID: "
                                          "minimumDiskSpaceCheck, considering as success."),
                                LoggedBy(kFile, "execute(for:)")),
                          DebugLine("No action details found for actionID: undefined(\"2003\"), "
                                    "considering as success.")));
}

TEST_F(ProcessPatchActionsTest, ActionsWithoutBehaviourPassWithAnErrorLine) {
  Processor processor(R"({"2009":["a","b"],"2099":[]})", mac);
  EXPECT_EQ(processor.execute(KnownAction::applicationRunningNotifier), Result::success());
  EXPECT_EQ(processor.execute(ActionID("2099")), Result::success());
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          MessageLike(HasSubstr("Applicable actions")),
          AllOf(ErrorLine("ActionID applicationRunningNotifier:[\"a\", \"b\"] not implemented, "
                          "considering as success."),
                LoggedBy(kFile, "execute(for:using:)")),
          InfoLine("Patch action result for action detail (actionID: applicationRunningNotifier, "
                   "arguments: [\"a\", \"b\"]) : success."),
          ErrorLine("ActionID undefined(\"2099\"):[] not defined, considering as success."),
          MessageLike(EndsWith("undefined(\"2099\"), arguments: []) : success."))));
}

TEST_F(ProcessPatchActionsTest, BatteryChecksAreForTheirKindOfMachine) {
  mac->battery->source = BatteryPower{.percentage = 20};
  const auto silicon = KnownAction::siliconBatteryPercentageCheck;
  const auto intel = KnownAction::intelBatteryPercentageCheck;
  EXPECT_EQ(run(R"({"2001":["20"]})", silicon), Result::success());
  EXPECT_EQ(run(R"({"2001":["+21","x"]})", silicon),
            Result::applyLater(PlainReason::inSufficientBattery));
  EXPECT_EQ(run(R"({"2002":["bad"]})", intel), Result::success());
  EXPECT_THAT(log.records(),
              Contains(AllOf(InfoLine("Its an Apple Silicon machine, skipping actionID: "
                                      "intelBatteryPercentageCheck."),
                             LoggedBy(kFile, "hasMinimumBatteryForIntelMachine(for:using:)"))));
  vxutils::gv_globvars.setAppleSiliconMachine(false);
  EXPECT_EQ(run(R"({"2001":[]})", silicon), Result::success());
  EXPECT_EQ(run(R"({"2002":["21"]})", intel), Result::applyLater(PlainReason::inSufficientBattery));
  EXPECT_THAT(log.records(),
              Contains(AllOf(InfoLine("Its not an Apple Silicon machine, skipping actionID: "
                                      "siliconBatteryPercentageCheck."),
                             LoggedBy(kFile, "hasMinimumBatteryForSiliconMachine(for:using:)"))));
}

TEST_F(ProcessPatchActionsTest, MissingOrUnreadableArgumentsAreInsufficient) {
  const auto insufficient = Result::applyLater(PlainReason::inSufficientArguments);
  const auto silicon = KnownAction::siliconBatteryPercentageCheck;
  for (const char* arguments :
       {"[]", "[\"\"]", "[\" 20\"]", "[\"20%\"]", "[\"9223372036854775808\"]"}) {
    EXPECT_EQ(run("{\"2001\":" + std::string(arguments) + "}", silicon), insufficient);
    EXPECT_EQ(run("{\"2005\":" + std::string(arguments) + "}", KnownAction::minimumDiskSpaceCheck),
              insufficient);
  }
  EXPECT_THAT(log.records(),
              Contains(AllOf(InfoLine("Unable to get minimum battery percentage for actionID: "
                                      "siliconBatteryPercentageCheck, considering as failure."),
                             LoggedBy(kFile, "hasMinimumBatteryForSiliconMachine(for:using:)"))));
  EXPECT_THAT(log.records(),
              Contains(AllOf(InfoLine("Unable to get minimum disk space for actionID: "
                                      "minimumDiskSpaceCheck, considering as failure."),
                             LoggedBy(kFile, "hasMinimumDiskSpace(for:using:)"))));

  EXPECT_EQ(run(R"({"2007":["14.5"]})", KnownAction::installMacOSUpdates), insufficient);
  EXPECT_EQ(run(R"({"2010":[]})", KnownAction::installMacOSUpdatesUsingInstallAssistant),
            insufficient);
  EXPECT_EQ(run(R"({"2008":[]})", KnownAction::applicationRunningCheck), insufficient);
  EXPECT_EQ(mac->timesInstallersAsked, 0);
  EXPECT_THAT(log.records(),
              Contains(AllOf(ErrorLine("Unable to perform macOS update/upgrade, not enough "
                                       "arguments. Arguments [\"14.5\"]."),
                             LoggedBy(kFile, "installmacOSUpdates(for:using:)"))));
  EXPECT_THAT(
      log.records(),
      Contains(AllOf(ErrorLine("Unable to perform macOS update/upgrade using InstallAssistant, not "
                               "enough arguments. Arguments []."),
                     LoggedBy(kFile, "installMacOSUpdatesUsingInstallAssistant(for:using:)"))));
  EXPECT_THAT(log.records(),
              Contains(AllOf(ErrorLine("Unable to perform application running check, not enough "
                                       "arguments. Arguments []."),
                             LoggedBy(kFile, "applicationRunningCheck(for:using:)"))));
}

TEST_F(ProcessPatchActionsTest, DiskSpaceIsAskedInBytesAndSaturates) {
  const auto disk = KnownAction::minimumDiskSpaceCheck;
  mac->disk->freeBytes = 20'000'000'000;
  EXPECT_EQ(run(R"({"2005":["20"]})", disk), Result::success());
  EXPECT_EQ(run(R"({"2005":["-5"]})", disk), Result::success());
  mac->disk->freeBytes = 19'999'999'999;
  const auto tooLittle = Result::applyLater(PlainReason::inSufficientDiskSpaceForSoftwareUpdate);
  EXPECT_EQ(run(R"({"2005":["20"]})", disk), tooLittle);
  mac->disk->freeBytes = kLargest - 1;
  EXPECT_EQ(run(R"({"2005":["9223372036854775807"]})", disk), tooLittle);
  EXPECT_EQ(run(R"({"2005":["-9223372036854775808"]})", disk), Result::success());
}

TEST_F(ProcessPatchActionsTest, UserChecksAreSkippedWhenMDMPatches) {
  mac->session->consoleUser = "NOUSERNAME";
  mac->session->users = std::nullopt;
  const std::string actions = R"({"2003":["ignored"],"2004":[]})";
  EXPECT_EQ(run(actions, KnownAction::userLoggedInCheck),
            Result::applyLater(PlainReason::userNotLoggedIn));
  EXPECT_EQ(run(actions, KnownAction::multipleUserLoggedInCheck),
            Result::applyLater(PlainReason::multipleUsersLoggedIn));
  mac->settings->values["OSPatchingViaMDMStatus"] = std::int64_t{1};
  EXPECT_EQ(run(actions, KnownAction::userLoggedInCheck), Result::success());
  EXPECT_EQ(run(actions, KnownAction::multipleUserLoggedInCheck), Result::success());
  EXPECT_THAT(log.records(),
              Contains(AllOf(InfoLine("MDM patching is enabled, Skipping user logged in check."),
                             LoggedBy(kFile, "isUserLoggedIn()"))));
  EXPECT_THAT(
      log.records(),
      Contains(AllOf(InfoLine("MDM patching is enabled, Skipping multiple logged in check."),
                     LoggedBy(kFile, "isMultipleUsersLoggedIn()"))));
  mac->settings->values.clear();
  mac->session->consoleUser = "alice";
  mac->session->users = "alice";
  EXPECT_EQ(run(actions, KnownAction::userLoggedInCheck), Result::success());
  EXPECT_EQ(run(actions, KnownAction::multipleUserLoggedInCheck), Result::success());
}

TEST_F(ProcessPatchActionsTest, DeferralIsAskedStepByStep) {
  const auto defer = KnownAction::macOSDeferCheck;
  const auto loggedHere = [](const auto& line) {
    return AllOf(line, LoggedBy(kFile, "isMacOSUpdateDeferred(for:using:)"));
  };
  mac->enrolled = false;
  EXPECT_EQ(run(R"({"2006":[]})", defer), Result::success());
  EXPECT_THAT(log.records(), Contains(loggedHere(InfoLine("Machine not enrolled in MDM yet, "
                                                          "skipping macOS defer check."))));
  mac->enrolled = true;
  mac->settings->values["DisableMacOSUpdateDeferralCheck"] = true;
  mac->settings->values["OSPatchingViaMDMStatus"] = std::int64_t{1};
  EXPECT_EQ(run(R"({"2006":[]})", defer), Result::success());
  EXPECT_THAT(log.records(), Not(Contains(MessageLike(HasSubstr("Skipping macOS defer check")))));
  mac->settings->values.erase("DisableMacOSUpdateDeferralCheck");
  EXPECT_EQ(run(R"({"2006":[]})", defer), Result::success());
  EXPECT_THAT(
      log.records(),
      Contains(loggedHere(InfoLine("MDM patching is enabled, Skipping macOS defer check."))));
  mac->settings->values.clear();
  EXPECT_EQ(run(R"({"2006":[]})", defer), Result::applyLater(PlainReason::inSufficientArguments));
  EXPECT_THAT(log.records(),
              Contains(loggedHere(InfoLine("Unable to get macOS version for actionID: "
                                           "macOSDeferCheck, considering as failure."))));

  const auto unreachable = Result::applyLater(PlainReason::softwareUpdateUnreachable);
  mac->updateList.exitCode = 1;
  EXPECT_EQ(run(R"({"2006":["14.5"]})", defer), unreachable);
  EXPECT_THAT(log.records(),
              Contains(loggedHere(ErrorLine("Apple softwareupdate is not reachable, skipping "
                                            "macOSDeferCheck, considering as failure."))));
  mac->updateList.exitCode = 0;
  mac->availableUpdates = std::nullopt;
  EXPECT_EQ(run(R"({"2006":["14.5"]})", defer), unreachable);
  AvailableOSUpdate update;
  update.version = "14.5";
  update.productKey = "MSU_1";
  update.deferredUntil = "2999-01-31 00:00:00 +0000";
  mac->availableUpdates = {{update}};
  EXPECT_EQ(run(R"({"2006":[""]})", defer), Result::success());
  const Result deferred = run(R"({"2006":["14.5"]})", defer);
  EXPECT_EQ(name(deferred.outcome), "applyLater");
  EXPECT_THAT(std::get<MacOSUpdateIsDeferred>(deferred.description.value()).until,
              ::testing::Optional(AllOf(::testing::StartsWith("2999-"), EndsWith("-31"))));
}

TEST_F(ProcessPatchActionsTest, InstallersNeedTheirContainerAndFollowTheMachine) {
  const auto noService = Result::applyLater(PlainReason::unableToGetAgentServiceConnection);
  const auto upgrade = KnownAction::installMacOSUpdatesUsingInstallAssistant;
  const std::string actions = R"({"2007":["14.5","Label-1","x"],"2010":["/A B.app"]})";
  EXPECT_EQ(run(actions, KnownAction::installMacOSUpdates), noService);
  EXPECT_EQ(run(actions, upgrade), noService);

  mac->upgradeInstallation = std::make_shared<FakeUpgradeInstallation>();
  EXPECT_EQ(run(actions, upgrade), Result::applyLater(PlainReason::credentialsNotEntered));
  vxutils::gv_globvars.setAppleSiliconMachine(false);
  mac->upgradeInstallation->command.exitCode = 3;
  EXPECT_EQ(run(actions, upgrade),
            Result::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
  EXPECT_THAT(mac->upgradeInstallation->command.commands,
              ElementsAre("\"/A B.app/Contents/Resources/startosinstall\" --agreetolicense "
                          "--forcequitapps --nointeraction"));
}

class RunningCheckTest : public ProcessPatchActionsTest {
 protected:
  RunningCheckTest() {
    mac->running = {{"com.a", "Zebra"}, {"com.b", std::nullopt}, {"com.c", "Apple"}};
  }
  Result check() {
    return run(R"({"2008":["com.c","com.b","com.a"]})", KnownAction::applicationRunningCheck);
  }
  const Result later = Result::applyLater(PlainReason::appIsRunning);
};

TEST_F(RunningCheckTest, PolicyDecidesBeforeThePrompt) {
  EXPECT_EQ(check(), later);  // neither switch is on
  EXPECT_THAT(mac->events, ElementsAre("detect", "kill?", "prompt?"));
  mac->events.clear();
  mac->alwaysKill = true;
  EXPECT_EQ(check(), Result::success());
  EXPECT_THAT(mac->events, ElementsAre("detect", "kill?", "kill com.c com.b com.a"));
  mac->running.clear();
  mac->events.clear();
  EXPECT_EQ(check(), Result::success());
  EXPECT_THAT(mac->events, ElementsAre("detect"));
}

TEST_F(RunningCheckTest, AnAgreedPromptKillsAllAndReportsTheNamedOnes) {
  mac->promptEnabled = true;
  mac->userAgrees = true;
  EXPECT_EQ(check(), Result::success(GotUserAcknowledgementForPatchingRunningApplications{
                         {{"com.a", "Zebra"}, {"com.c", "Apple"}}}));
  EXPECT_THAT(mac->events,
              ElementsAre("detect", "kill?", "prompt?", "details com.c", "details com.b",
                          "details com.a", "evaluate com.c,com.b,com.a for 7", "clean",
                          "ask Zebra, Apple; 930 s", "kill com.c com.b com.a"));
}

TEST_F(RunningCheckTest, ARefusedOrSkippedPromptIsLater) {
  mac->promptEnabled = true;
  mac->customizationFile.emplace().skipTimerCount = 5;
  EXPECT_EQ(check(), later);
  EXPECT_EQ(mac->events.back(), "ask Zebra, Apple; 330 s");
  mac->customizationFile->skipTimerCount = kLargest;
  EXPECT_EQ(check(), later);
  EXPECT_EQ(mac->events.back(), "ask Zebra, Apple; 9223372036854775807 s");
  mac->decision = RunningAppPromptDecision::skipDeployment;
  mac->userAgrees = true;
  EXPECT_EQ(check(), later);
  EXPECT_EQ(mac->events.back(), "evaluate com.c,com.b,com.a for 7");
}

TEST_F(RunningCheckTest, WithoutAnyNameNothingCountsAsRunning) {
  mac->promptEnabled = true;
  mac->running = {{"com.b", std::nullopt}};
  EXPECT_EQ(check(), Result::success());
  EXPECT_THAT(
      log.records(),
      Contains(AllOf(ErrorLine("Unable to obtain app names for the following bundle IDs: "
                               "[\"com.c\", \"com.b\", \"com.a\"]. Considering as no app is "
                               "running."),
                     LoggedBy(kFile, "applicationRunningCheck(for:using:)"))));
}

TEST_F(ProcessPatchActionsTest, RunningAllActionsStopsAtTheFirstThatDoesNotPass) {
  mac->disk->freeBytes = 0;
  mac->session->consoleUser = "NOUSERNAME";
  Processor processor(R"({"2005":["1"],"2003":[],"-1":[]})", mac);
  EXPECT_EQ(processor.executeAll(), Result::applyLater(PlainReason::userNotLoggedIn));
  mac->session->consoleUser = "alice";
  mac->disk->freeBytes = 1'000'000'000;
  EXPECT_EQ(processor.executeAll(), Result::success());
}

TEST(ProcessPatchActionsFileTest, AnUnusableFileIsLoggedAndThrownByEveryProcessor) {
  const TemporaryDirectory directory;
  vxutils::gv_globvars.setDirectories({.base = directory.path(), .data = {}, .logs = {}});
  const std::string path = directory.path() + "/client-data/patch-resources/mac-patch-actions.json";
  const LogCapture log;
  for (int attempt = 0; attempt < 2; ++attempt) {
    try {
      ProcessPatchActions processor({"7", "p", "s"});
      ADD_FAILURE() << "a processor was made";
    } catch (const PatchActionFileError& error) {
      EXPECT_THAT(error.what(), ::testing::StartsWith(path));
      EXPECT_THAT(log.records().back(),
                  AllOf(ErrorLine("Unable to evaluate patch actions for patchID: 7. Error: " +
                                  std::string(error.what()) + "."),
                        LoggedBy(kFile, "init(for:)")));
    }
  }
  EXPECT_EQ(log.records().size(), 3U);  // the parser's line comes once
  vxutils::gv_globvars.setDirectories({});
}

}  // namespace
}  // namespace vexlo
