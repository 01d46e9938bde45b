// The checks that come before an installation, each through every way that it can end.
#include <gmock/gmock.h>

#include "Tests/EndToEnd/MacRun.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

constexpr const char* kProcessor = "PatchActions/Main/ProcessPatchActions";
constexpr const char* kBattery = "Validators/Battery/Battery";
constexpr const char* kPowerSource = "Validators/Battery/PowerSourceResolver";
constexpr const char* kDisk = "Validators/Disk/Disk";
constexpr const char* kUsers = "Validators/UserLoggedIn/UserLoggedIn";
constexpr const char* kMDMPatching = "PatchActions/Helpers/MDMPatchingStatusChecker";
constexpr const char* kEligibility = "PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker";
constexpr const char* kLister = "Validators/DeferCheck/SoftwareUpdateLister";
constexpr const char* kUpdates = "Validators/DeferCheck/AvailableOSUpdatesResolver";
constexpr const char* kDeferral = "Validators/DeferCheck/DeferCheck";

/// One way that a check can end.
struct Ending {
  std::string name;
  MacRun run;
  std::string result;
  Lines lines;
  std::vector<std::string> tools;  ///< The command lines of all stand-ins, in order.
};

void addEndings(const char* suite, const std::vector<Ending>& endings) {
  for (const Ending& ending : endings) {
    addMacTest(suite, ending.name, ending.run, [ending](const Ended& mac) {
      EXPECT_THAT(mac.results, ElementsAre(ending.result));
      EXPECT_EQ(mac.status, ending.result.contains(" success") ? 0 : 75);
      EXPECT_THAT(mac.log, IsSupersetOf(ending.lines));
      std::vector<std::string> tools;
      std::ranges::transform(mac.calls, std::back_inserter(tools), commandLine);
      EXPECT_EQ(tools, ending.tools);
    });
  }
}

const MacTests battery([] {
  const std::string unusable =
      "Unable to get minimum battery percentage for actionID: siliconBatteryPercentageCheck, "
      "considering as failure.";
  const std::string discharging = "power/source=battery discharging 45/90";
  addEndings(
      "Battery",
      {{"IntelMachineSkipsTheSiliconCheck",
        action("2001=99", {discharging}, "intel"),
        "2001 success",
        {info(kProcessor, "hasMinimumBatteryForSiliconMachine(for:using:)",
              "Its not an Apple Silicon machine, skipping actionID: "
              "siliconBatteryPercentageCheck.")}},
       {"SiliconMachineSkipsTheIntelCheck",
        action("2002=99", {discharging}),
        "2002 success",
        {info(kProcessor, "hasMinimumBatteryForIntelMachine(for:using:)",
              "Its an Apple Silicon machine, skipping actionID: intelBatteryPercentageCheck.")}},
       {"NoMinimum",
        action("2001="),
        "2001 applyLater inSufficientArguments",
        {info(kProcessor, "hasMinimumBatteryForSiliconMachine(for:using:)", unusable)}},
       {"MinimumWithAPercentSign",
        action("2001=30%"),
        "2001 applyLater inSufficientArguments",
        {info(kProcessor, "hasMinimumBatteryForSiliconMachine(for:using:)", unusable)}},
       {"MinimumWithALeadingBlankOnIntel",
        action("2002=\" 30\"", {}, "intel"),
        "2002 applyLater inSufficientArguments",
        {info(kProcessor, "hasMinimumBatteryForIntelMachine(for:using:)",
              "Unable to get minimum battery percentage for actionID: intelBatteryPercentageCheck, "
              "considering as failure.")}},
       {"ExactlyTheMinimum",
        action("2001=50", {discharging}),
        "2001 success",
        {info(kPowerSource, "currentPowerSource()",
              "Power source: Battery, current capacity: 45, max capacity: 90, battery percentage: "
              "50%."),
         info(kBattery, "hasMinimumBattery(of:)",
              "System battery percentage: 50, minimum battery percentage: 50, is sufficient: "
              "true.")}},
       {"BelowTheMinimumOnIntel",
        action("2002=+51", {discharging}, "intel"),
        "2002 applyLater inSufficientBattery",
        {info(kBattery, "hasMinimumBattery(of:)",
              "System battery percentage: 50, minimum battery percentage: 51, is sufficient: "
              "false.")}},
       {"MainsPower",
        action("2001=100", {"power/source=battery charging 10/100"}),
        "2001 success",
        {info(kPowerSource, "currentPowerSource()", "Power source: AC."),
         info(kBattery, "hasMinimumBattery(of:)",
              "System is AC powered, so considering it as sufficient battery.")}},
       {"NoPowerSourceIsKnown",
        action("2001=100", {"power/source=none"}),
        "2001 success",
        {error(kPowerSource, "currentPowerSource()",
               "Unable to obtain system power source details."),
         error(kBattery, "hasMinimumBattery(of:)",
               "Unable to obtain system power source, Considering it as sufficient battery.")}},
       {"OnlySourceHasNoCharge",
        action("2001=100", {"power/source=battery discharging"}),
        "2001 success",
        {error(kPowerSource, "currentPowerSource()",
               "Unable to obtain system power source details.")}}});
  addMacTest("Battery", "TheFirstUsableSourceDecides",
             {.scenario = "several-batteries", .settings = {"actions/2001=30"}},
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2001 applyLater inSufficientBattery"));
               EXPECT_THAT(mac.messages(),
                           Contains("System battery percentage: 20, minimum battery percentage: "
                                    "30, is sufficient: false."));
             });
});

const MacTests disk([] {
  const std::string unusable =
      "Unable to get minimum disk space for actionID: minimumDiskSpaceCheck, considering as "
      "failure.";
  constexpr const char* kHandler = "hasMinimumDiskSpace(for:using:)";
  addEndings("Disk", {{"NoMinimum",
                       action("2005="),
                       "2005 applyLater inSufficientArguments",
                       {info(kProcessor, kHandler, unusable)}},
                      {"MinimumWithAUnit",
                       action("2005=20GB"),
                       "2005 applyLater inSufficientArguments",
                       {info(kProcessor, kHandler, unusable)}},
                      {"MoreThanEnough", action("2005=0"), "2005 success", {}},
                      {"TooMuchForAnyVolume",
                       action("2005=9223372036854775807"),
                       "2005 applyLater inSufficientDiskSpaceForSoftwareUpdate",
                       {}}});
  addMacTest("Disk", "TooLittleIsMeasuredInDecimalGigabytes",
             {.scenario = "disk-full", .settings = {"actions/2005=20"}}, [](const Ended& mac) {
               EXPECT_THAT(mac.results,
                           ElementsAre("2005 applyLater inSufficientDiskSpaceForSoftwareUpdate"));
               EXPECT_THAT(
                   mac.log,
                   Contains(AllOf(LoggedBy(kDisk, "hasMinimumFreeSpace(of:)"),
                                  Field(&LogRecord::message,
                                        testing::MatchesRegex(
                                            "Required free disk space: 20000000000, available "
                                            "free space: 8[0-9]{9}, is free space available: "
                                            "false")))));
             });
});

const MacTests users([] {
  const std::string patchedByMDM = "patch data/OSPatchingViaMDMStatus=1";
  const std::string singleUser = "isSingleUserLoggedIn()";
  addEndings(
      "Users",
      {{"MDMPatchingSkipsTheUserCheck",
        action("2003=", {patchedByMDM, "users/console=none"}),
        "2003 success",
        {info(kMDMPatching, "isEnabled()", "MDM patching is enabled - nil."),
         info(kProcessor, "isUserLoggedIn()",
              "MDM patching is enabled, Skipping user logged in check.")}},
       {"MDMPatchingSkipsTheMultipleUserCheck",
        action("2004=", {patchedByMDM, "patch data/IsMDMPatchingEnabled=\"TRUE\"",
                         "users/logged on=alice bob"}),
        "2004 success",
        {info(kMDMPatching, "isEnabled()", "MDM patching is enabled - Optional(\"TRUE\")."),
         info(kProcessor, "isMultipleUsersLoggedIn()",
              "MDM patching is enabled, Skipping multiple logged in check.")}},
       {"MDMPatchingIsSwitchedOff",
        action("2003=", {patchedByMDM, "patch data/IsMDMPatchingEnabled=\"1\""}),
        "2003 success",
        {info(kMDMPatching, "isEnabled()", "MDM patching is disabled - Optional(\"1\")."),
         info(kUsers, "isUserLoggedIn()", "User: alice logged in. UID: Optional(501).")}},
       {"MDMStatusOfAnotherType",
        action("2003=", {"patch data/OSPatchingViaMDMStatus=\"1\"", "users/console=none"}),
        "2003 applyLater userNotLoggedIn",
        {info(kMDMPatching, "isEnabled()",
              "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled"),
         info(kUsers, "isUserLoggedIn()", "No users logged in.")}},
       {"SettingsThatAreNoPropertyList",
        action("2003=", {"patch data/content=<plist><dict>"}),
        "2003 success",
        {info(kMDMPatching, "isEnabled()",
              "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled")}},
       {"ConsoleUserWithoutAnAccount",
        action("2003=", {"users/console=carol"}),
        "2003 success",
        {info(kUsers, "isUserLoggedIn()", "User: carol logged in. UID: nil.")}},
       {"OneUser",
        action("2004="),
        "2004 success",
        {info(kUsers, singleUser.c_str(), "Only one user logged in - alice.")}},
       {"TwoUsers",
        action("2004=", {"users/logged on=alice bob"}),
        "2004 applyLater multipleUsersLoggedIn",
        {info(kUsers, singleUser.c_str(), "More than one user logged in - alice,bob.")}},
       {"NobodyIsLoggedOn",
        action("2004=", {"users/console=none"}),
        "2004 applyLater multipleUsersLoggedIn",
        {info(kUsers, singleUser.c_str(), "No users logged in - isSingleUserLoggedIn.")}}});
});

const MacTests deferral([] {
  constexpr const char* kHandler = "isMacOSUpdateDeferred(for:using:)";
  constexpr const char* kDecision = "isMacOSUpdateDeferred(for:)";
  const std::string profiles = "profiles status -type enrollment";
  const std::string list = "softwareupdate --list";
  const std::string updates = "mdmclient AvailableOSUpdates";
  const std::vector<std::string> all{profiles, list, updates};
  const std::string far = "update/deferred until=2099-01-01 00:00:00 +0000";
  addEndings(
      "Deferral",
      {{"NotEnrolled",
        action("2006=", {"mdm/enrollment=none"}),
        "2006 success",
        {info(kProcessor, kHandler,
              "Machine not enrolled in MDM yet, skipping macOS defer check.")},
        {profiles}},
       {"EnrollmentToolFails",
        action("2006=14.5", {"profiles/exits=1"}),
        "2006 success",
        {info(kProcessor, kHandler,
              "Machine not enrolled in MDM yet, skipping macOS defer check.")},
        {profiles}},
       {"SwitchedOff",
        action("2006=", {"mdm/enrollment=dep", "patch data/DisableMacOSUpdateDeferralCheck=true"}),
        "2006 success",
        {info(kEligibility, "isDisabled()", "macOS update deferral check disabled: Yes")},
        {profiles}},
       {"SwitchOfAnotherType",
        action("2006=14.5", {"patch data/DisableMacOSUpdateDeferralCheck=\"true\""}),
        "2006 success",
        {info(kEligibility, "isDisabled()", "macOS update deferral check disabled: No")},
        all},
       {"MDMPatching",
        action("2006=", {"patch data/OSPatchingViaMDMStatus=1"}),
        "2006 success",
        {info(kProcessor, kHandler, "MDM patching is enabled, Skipping macOS defer check.")},
        {profiles}},
       {"NoVersion",
        action("2006="),
        "2006 applyLater inSufficientArguments",
        {info(kProcessor, kHandler,
              "Unable to get macOS version for actionID: macOSDeferCheck, considering as "
              "failure.")},
        {profiles}},
       {"ListFails",
        action("2006=14.5", {"softwareupdate --list/exits=1"}),
        "2006 applyLater softwareUpdateUnreachable",
        {error(kLister, "isAppleSoftwareUpdateReachable()",
               "Unable to obtain software update information."),
         error(kProcessor, kHandler,
               "Apple softwareupdate is not reachable, skipping macOSDeferCheck, considering as "
               "failure.")},
        {profiles, list}},
       {"ListDiesBySignal",
        action("2006=14.5", {"softwareupdate --list/exits=signal 9"}),
        "2006 applyLater softwareUpdateUnreachable",
        {info(kLister, "isAppleSoftwareUpdateReachable()",
              "Software update output: , exit code: 137.")},
        {profiles, list}},
       {"ListCantConnect",
        action("2006=14.5", {"softwareupdate --list/stderr=Can’t connect to the Apple Software "
                             "Update server."}),
        "2006 applyLater softwareUpdateUnreachable",
        {info(kLister, "isAppleSoftwareUpdateReachable()",
              "Software update output: Can’t connect to the Apple Software Update "
              "server.\\n, exit code: 0.")},
        {profiles, list}},
       {"NothingNewIsReachable",
        action("2006=14.5", {"softwareupdate --list/stderr=No new software available."}),
        "2006 success",
        {info(kLister, "isAppleSoftwareUpdateReachable()", "Apple software update is reachable.")},
        all},
       {"Deferred",
        action("2006=14.5", {far}),
        "2006 applyLater macOSUpdateIsDeferred 2099-Jan-01",
        {info(kDeferral, kDecision,
              "macOS 14.5 is deferred untill 2099-01-01:Optional(\"2099-Jan-01\") - "
              "MSU_UPDATE_23F79_patch_14.5_minor.")},
        all},
       {"DeferredUntilThePast",
        action("2006=14.5", {"update/deferred until=2001-01-01 00:00:00 +0000"}),
        "2006 success",
        {info(kDeferral, kDecision, "macOS 14.5 is not deferred.")},
        all},
       {"DeferredUntilAnUnreadableDay",
        action("2006=14.5", {"update/deferred until=2099/01/01 00:00:00 +0000"}),
        "2006 success",
        {error(kDeferral, "validate(_:)",
               "Unable to obtain defer date from given data, returning as update not deferred, but "
               "deferredUntil :2099/01/01")},
        all},
       {"AnotherVersionIsDeferred",
        action("2006=14.5.0", {far}),
        "2006 success",
        {info(kDeferral, kDecision, "macOS 14.5.0 is not deferred.")},
        all},
       {"MDMClientFails",
        action("2006=14.5", {"mdmclient/exits=2"}),
        "2006 applyLater softwareUpdateUnreachable",
        {error(kUpdates, "availableOSUpdates()",
               "AvailableOSUpdates command failed or unable to connect to the Apple Software "
               "Update server. Returning nil."),
         error(kDeferral, kDecision,
               "Unable to get AvailableOSUpdate - Network error. Need to check later.")},
        all},
       {"MDMClientCantConnect",
        action("2006=14.5",
               {"mdmclient/stdout=Can’t connect to the Apple Software Update server."}),
        "2006 applyLater softwareUpdateUnreachable",
        {error(kDeferral, kDecision,
               "Unable to get AvailableOSUpdate - Network error. Need to check later.")},
        all},
       {"MDMClientPrintsNoHeader",
        action("2006=14.5", {"mdmclient/stdout=nothing to say"}),
        "2006 success",
        {error(kUpdates, "parse(_:)", "No available updates found or data conversion failed."),
         error(kDeferral, kDecision,
               "Unable to get AvailableOSUpdate. Considering it as not deferred.")},
        all}});
  addMacTest("Deferral", "MDMClientPrintsWhatIsNoPropertyList",
             action("2006=14.5", {"mdmclient/stdout=Available updates (install debug profile for "
                                  "more details): ( { Version = "}),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2006 success"));
               EXPECT_THAT(mac.messages(),
                           Contains(testing::StartsWith("Deserialization error: ")));
             });
  addMacTest("Deferral", "MegabytesOfOutputAndAChildThatKeepsThePipeOpen",
             {.scenario = "noisy-tools", .settings = {"actions/2006=14.5"}}, [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2006 applyLater macOSUpdateIsDeferred "
                                                    "2099-Jun-15"));
             });
});

const MacTests choice([] {
  MacRun notListed = action("2005=1");
  notListed.options = {"--action", "2003"};
  addEndings("Choice",
             {{"AnActionThatThePatchLacks",
               notListed,
               "2003 success",
               {debug(kProcessor, "execute(for:)",
                      "No action details found for actionID: userLoggedInCheck, considering as "
                      "success.")}},
              {"TheNotifierDoesNothing",
               action("2009=a \"b c\""),
               "2009 success",
               {error(kProcessor, "execute(for:using:)",
                      "ActionID applicationRunningNotifier:[\"a\", \"b c\"] not implemented, "
                      "considering as success.")}},
              {"AnUnknownCodeDoesNothing",
               action("3001="),
               "3001 success",
               {error(kProcessor, "execute(for:using:)",
                      "ActionID undefined(\"3001\"):[] not defined, considering as success.")}}});
  addMacTest("Choice", "ProductAndPatchActionsRunInTheirOrder",
             {.options = {"--action", "2001", "--action", "2003", "--action", "2004", "--action",
                          "2005", "--action", "2006", "--action", "2009", "--action", "3001"}},
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2001 success", "2003 success", "2004 success",
                                                    "2005 success", "2006 success", "2009 success",
                                                    "3001 success"));
               EXPECT_EQ(mac.status, 0);
               EXPECT_EQ(std::ranges::count_if(mac.messages(),
                                               [](const std::string& message) {
                                                 return message.starts_with(
                                                     "Patch action result for action detail ");
                                               }),
                         7);
             });
  addMacTest("Choice", "AFileThatIsNoActionFileRunsNothing",
             {.settings = {"agent/action file={\"PatchActions\": []}"}}, [](const Ended& mac) {
               EXPECT_EQ(mac.status, 65);
               EXPECT_THAT(mac.results, IsEmpty());
               EXPECT_THAT(mac.notices,
                           ElementsAre(testing::EndsWith("mac-patch-actions.json: PatchActions: "
                                                         "expected an object or null, found an "
                                                         "array")));
             });
});

}  // namespace
}  // namespace end_to_end
