// Every outcome of the pre-condition checks.
#include <gmock/gmock.h>

#include "Tests/EndToEnd/MacRun.h"

namespace end_to_end {
namespace {

const std::string kIntel = "mac/machine=intel";
const std::string kDischarging = "power/source=battery discharging 45/90";
const std::string kBattery = "info Validators/Battery/Battery hasMinimumBattery(of:): ";
const std::string kNoBattery = "error Validators/Battery/Battery hasMinimumBattery(of:): ";
const std::string kSource = "Validators/Battery/PowerSourceResolver currentPowerSource(): ";
const std::string kSilicon =
    "info " + kProcessor + "hasMinimumBatteryForSiliconMachine(for:using:): ";
const std::string kOnIntel =
    "info " + kProcessor + "hasMinimumBatteryForIntelMachine(for:using:): ";
const std::string kUnusable = "Unable to get minimum battery percentage for actionID: ";
const std::string kNoIntelMinimum =
    kOnIntel + kUnusable + "intelBatteryPercentageCheck, considering as failure.";
const std::string kNoSiliconMinimum =
    kSilicon + kUnusable + "siliconBatteryPercentageCheck, considering as failure.";
const std::string kNoDiskMinimum =
    "info " + kProcessor +
    "hasMinimumDiskSpace(for:using:): Unable to get minimum disk space for actionID: "
    "minimumDiskSpaceCheck, considering as failure.";

const MacTests battery(
    "BatteryAndDisk",
    {{.name = "IntelMachine",
      .settings = {kIntel, kDischarging, "actions/2001=99", "actions/2002=+51"},
      .results = {"2001 success", "2002 applyLater inSufficientBattery"},
      .lines = {kSilicon + "Its not an Apple Silicon machine, skipping actionID: "
                           "siliconBatteryPercentageCheck.",
                kBattery + "System battery percentage: 50, minimum battery percentage: 51, is "
                           "sufficient: false."},
      .why = {"for another processor", "battery 50 %, 51 % needed"}},
     {.name = "SiliconMachine",
      .settings = {kDischarging, "actions/2001=50", "actions/2002=99"},
      .results = {"2001 success", "2002 success"},
      .lines =
          {"info " + kSource +
               "Power source: Battery, current capacity: 45, max capacity: 90, battery percentage: "
               "50%.",
           kBattery + "System battery percentage: 50, minimum battery percentage: 50, is "
                      "sufficient: true.",
           kOnIntel +
               "Its an Apple Silicon machine, skipping actionID: intelBatteryPercentageCheck."}},
     {.name = "NoMinimum",
      .settings = {"actions/2001=", "actions/2005="},
      .results = {"2001 applyLater inSufficientArguments", "2005 applyLater inSufficientArguments"},
      .lines = {kNoSiliconMinimum, kNoDiskMinimum}},
     {.name = "NoMinimumOnIntel",
      .settings = {kIntel, "actions/2002="},
      .results = {"2002 applyLater inSufficientArguments"},
      .lines = {kNoIntelMinimum}},
     {.name = "MinimumWithAUnit",
      .settings = {"actions/2001=30%", "actions/2005=20GB"},
      .results = {"2001 applyLater inSufficientArguments", "2005 applyLater inSufficientArguments"},
      .lines = {kNoSiliconMinimum, kNoDiskMinimum},
      .why = {"minimum battery percentage: \"30%\" is not an integer",
              "minimum free space in GB: \"20GB\" is not an integer"}},
     {.name = "MainsPowerAndNoSpaceNeeded",
      .settings = {"power/source=battery charging 10/100", "actions/2001=100", "actions/2005=0"},
      .results = {"2001 success", "2005 success"},
      .lines = {"info " + kSource + "Power source: AC.",
                kBattery + "System is AC powered, so considering it as sufficient battery."}},
     {.name = "NoPowerSourceAndTooMuchForAnyVolume",
      .settings = {"power/source=none", "actions/2001=100", "actions/2005=9223372036854775807"},
      .results = {"2001 success", "2005 applyLater inSufficientDiskSpaceForSoftwareUpdate"},
      .lines = {"error " + kSource + "Unable to obtain system power source details.",
                kNoBattery +
                    "Unable to obtain system power source, Considering it as sufficient battery."}},
     {.name = "TheFirstUsableSourceDecides",
      .settings = {"actions/2001=30"},
      .results = {"2001 applyLater inSufficientBattery"},
      .scenario = "several-batteries"},
     {.name = "SpaceIsMeasuredInDecimalGigabytes",
      .settings = {"mac/free disk=8g", "actions/2005=20"},
      .results = {"2005 applyLater inSufficientDiskSpaceForSoftwareUpdate"},
      .why = {"8.5 GB free, 20 GB needed"},
      .check = [](const Ended& mac) {
        EXPECT_THAT(mac.log, testing::Contains(testing::MatchesRegex(
                                 "info Validators/Disk/Disk hasMinimumFreeSpace.of:.: Required "
                                 "free disk space: 20000000000, available free space: 8[0-9]{9}, "
                                 "is free space available: false")));
      }}});

const std::string kProfiles = "profiles status -type enrollment";
const std::string kByMDM = "patch data/OSPatchingViaMDMStatus=1";
const std::string kMDMPatching = "info PatchActions/Helpers/MDMPatchingStatusChecker isEnabled(): ";
const std::string kNoMDMStatus =
    kMDMPatching + "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled";
const std::string kUser = "info Validators/UserLoggedIn/UserLoggedIn isUserLoggedIn(): ";
const std::string kSingle = "info Validators/UserLoggedIn/UserLoggedIn isSingleUserLoggedIn(): ";

const MacTests users(
    "Users",
    {{.name = "MDMPatchingSkipsUsersAndDeferral",
      .settings = {kByMDM, "users/console=none", "actions/2003=", "actions/2004=", "actions/2006="},
      .results = {"2003 success", "2004 success", "2006 success"},
      .lines = {kMDMPatching + "MDM patching is enabled - nil.",
                "info " + kProcessor +
                    "isUserLoggedIn(): MDM patching is enabled, Skipping user logged in check.",
                "info " + kProcessor +
                    "isMultipleUsersLoggedIn(): MDM patching is enabled, Skipping multiple logged "
                    "in check.",
                "info " + kProcessor +
                    "isMacOSUpdateDeferred(for:using:): MDM patching is enabled, Skipping macOS "
                    "defer check."},
      .calls = {kProfiles}},
     {.name = "MDMPatchingIsSwitchedOn",
      .settings = {kByMDM, "patch data/IsMDMPatchingEnabled=\"TRUE\"", "users/logged on=alice bob",
                   "actions/2004="},
      .results = {"2004 success"},
      .lines = {kMDMPatching + "MDM patching is enabled - Optional(\"TRUE\")."}},
     {.name = "MDMPatchingIsSwitchedOff",
      .settings = {kByMDM, "patch data/IsMDMPatchingEnabled=\"1\"",
                   "actions/2003=", "actions/2004="},
      .results = {"2003 success", "2004 success"},
      .lines = {kMDMPatching + "MDM patching is disabled - Optional(\"1\").",
                kUser + "User: alice logged in. UID: Optional(501).",
                kSingle + "Only one user logged in - alice."},
      .why = {"alice at the console", "alice logged on"}},
     {.name = "MDMStatusOfWrongTypeAndNoUser",
      .settings = {"patch data/OSPatchingViaMDMStatus=\"1\"", "users/console=none",
                   "actions/2003=", "actions/2004="},
      .results = {"2003 applyLater userNotLoggedIn", "2004 applyLater multipleUsersLoggedIn"},
      .lines = {kNoMDMStatus, kUser + "No users logged in.",
                kSingle + "No users logged in - isSingleUserLoggedIn."},
      .why = {"nobody at the console", "nobody logged on"}},
     {.name = "UnreadableSettingsAndTwoUsers",
      .settings = {"patch data/content=<plist><dict>", "users/logged on=alice bob",
                   "actions/2003=", "actions/2004="},
      .results = {"2003 success", "2004 applyLater multipleUsersLoggedIn"},
      .lines = {kNoMDMStatus, kSingle + "More than one user logged in - alice,bob."},
      .why = {"alice at the console", "alice, bob logged on"}},
     {.name = "ConsoleUserWithoutASession",
      .settings = {"users/logged on=bob", "actions/2003="},
      .results = {"2003 success"},
      .lines = {kUser + "User: alice logged in. UID: Optional(501)."}},
     {.name = "ConsoleUserWithoutAnAccount",
      .settings = {"users/console=carol", "actions/2003="},
      .results = {"2003 success"},
      .lines = {kUser + "User: carol logged in. UID: nil."}}});

const std::string kAsked = "actions/2006=14.5";
const std::string kFarOff = "update/deferred until=2099-01-01 00:00:00 +0000";
const std::string kCantConnect = "Can’t connect to the Apple Software Update server.";
const std::string kDeferred = "2006 applyLater macOSUpdateIsDeferred 2099-Jan-01";
const std::string kUnreachable = "2006 applyLater softwareUpdateUnreachable";
const std::string kHandler = kProcessor + "isMacOSUpdateDeferred(for:using:): ";
const std::string kNotEnrolled =
    "info " + kHandler + "Machine not enrolled in MDM yet, skipping macOS defer check.";
const std::string kSwitch =
    "info PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker isDisabled(): macOS update "
    "deferral check disabled: ";
const std::string kReachable =
    "Validators/DeferCheck/SoftwareUpdateLister isAppleSoftwareUpdateReachable(): ";
const std::string kUpdates = "error Validators/DeferCheck/AvailableOSUpdatesResolver ";
const std::string kDecision = "Validators/DeferCheck/DeferCheck isMacOSUpdateDeferred(for:): ";
const std::string kNetworkError =
    "error " + kDecision + "Unable to get AvailableOSUpdate - Network error. Need to check later.";
const Texts kListed{kProfiles, "softwareupdate --list"};
const Texts kAllAsked{kProfiles, "softwareupdate --list", "mdmclient AvailableOSUpdates"};

const MacTests deferral(
    "Deferral",
    {{.name = "NotEnrolled",
      .settings = {"actions/2006=", "mdm/enrollment=none"},
      .results = {"2006 success"},
      .lines = {kNotEnrolled},
      .calls = {kProfiles},
      .why = {"not checked, no MDM enrollment"}},
     {.name = "EnrollmentToolFails",
      .settings = {kAsked, "profiles/exits=1"},
      .results = {"2006 success"},
      .lines = {kNotEnrolled},
      .calls = {kProfiles}},
     {.name = "SwitchedOff",
      .settings = {"actions/2006=", "mdm/enrollment=dep",
                   "patch data/DisableMacOSUpdateDeferralCheck=true"},
      .results = {"2006 success"},
      .lines = {kSwitch + "Yes"},
      .calls = {kProfiles},
      .why = {"not checked, disabled in the settings"}},
     {.name = "NoVersion",
      .settings = {"actions/2006="},
      .results = {"2006 applyLater inSufficientArguments"},
      .lines =
          {"info " + kHandler +
           "Unable to get macOS version for actionID: macOSDeferCheck, considering as failure."},
      .calls = {kProfiles}},
     {.name = "ListFails",
      .settings = {kAsked, "softwareupdate --list/exits=1"},
      .results = {kUnreachable},
      .lines = {"error " + kReachable + "Unable to obtain software update information.",
                "error " + kHandler +
                    "Apple softwareupdate is not reachable, skipping macOSDeferCheck, considering "
                    "as failure."},
      .calls = kListed,
      .why = {"Apple's update service can't be reached, softwareupdate ended with status 1"}},
     {.name = "ListCantConnect",
      .settings = {kAsked, "softwareupdate --list/stderr=" + kCantConnect},
      .results = {kUnreachable},
      .lines = {"info " + kReachable + "Software update output: " + kCantConnect +
                "\\n, exit code: 0."},
      .calls = kListed},
     {.name = "NothingNewIsReachable",
      .settings = {kAsked, "softwareupdate --list/stderr=No new software available."},
      .results = {"2006 success"},
      .lines = {"info " + kReachable + "Apple software update is reachable."},
      .calls = kAllAsked},
     {.name = "Deferred",
      .settings = {kAsked, kFarOff},
      .results = {kDeferred},
      .lines = {"info " + kDecision +
                "macOS 14.5 is deferred untill 2099-01-01:Optional(\"2099-Jan-01\") - "
                "MSU_UPDATE_23F79_patch_14.5_minor."},
      .calls = kAllAsked,
      .why = {"deferred until 2099-Jan-01"}},
     {.name = "DeferredUntilAnUnreadableDay",
      .settings = {kAsked, "update/deferred until=2099/01/01 00:00:00 +0000"},
      .results = {"2006 success"},
      .lines = {"error Validators/DeferCheck/DeferCheck validate(_:): Unable to obtain defer date "
                "from given data, returning as update not deferred, but deferredUntil :2099/01/01"},
      .calls = kAllAsked},
     {.name = "AnotherVersionIsDeferred",
      .settings = {"actions/2006=14.5.0", kFarOff},
      .results = {"2006 success"},
      .lines = {"info " + kDecision + "macOS 14.5.0 is not deferred."},
      .calls = kAllAsked},
     {.name = "MDMClientFails",
      .settings = {kAsked, "mdmclient/exits=2"},
      .results = {kUnreachable},
      .lines = {kUpdates + "availableOSUpdates(): AvailableOSUpdates command failed or unable to "
                           "connect to the Apple Software Update server. Returning nil.",
                kNetworkError},
      .calls = kAllAsked,
      .why = {"the MDM client didn't report deferrals"}},
     {.name = "MDMClientCantConnect",
      .settings = {kAsked, "mdmclient/stdout=" + kCantConnect},
      .results = {kUnreachable},
      .lines = {kNetworkError},
      .calls = kAllAsked},
     {.name = "MDMClientPrintsNoHeader",
      .settings = {kAsked, "mdmclient/stdout=nothing to say"},
      .results = {"2006 success"},
      .lines = {kUpdates + "parse(_:): No available updates found or data conversion failed.",
                "error " + kDecision +
                    "Unable to get AvailableOSUpdate. Considering it as not deferred."},
      .calls = kAllAsked},
     {.name = "MacOS27ListsNoUpdates",
      .results = {"2006 success"},
      .calls = kAllAsked,
      .why = {"mdmclient printed no list of updates, counts as not deferred"},
      .scenario = "macos-27"},
     {.name = "MacOS27Fails",
      .settings = {"mdmclient/exits=1"},
      .results = {kUnreachable},
      .calls = kAllAsked,
      .why = {"the MDM client didn't report deferrals"},
      .scenario = "macos-27"},
     {.name = "LargeOutputAndAChildThatKeepsThePipeOpen",
      .settings = {kAsked},
      .results = {"2006 applyLater macOSUpdateIsDeferred 2099-Jun-15"},
      .calls = kAllAsked,
      .scenario = "noisy-tools"}});

/// Checks that vexlo-patch reports an unusable action file once and exits with 65.
auto refuses(const std::string& problem) {
  return [problem](const Ended& mac) {
    EXPECT_EQ(mac.status, 65);
    EXPECT_THAT(mac.notices, testing::ElementsAre(testing::EndsWith(problem)));
  };
}

const std::string kDispatch = "error " + kProcessor + "execute(for:using:): ActionID ";
const std::string kUnableToEvaluate =
    "error " + kProcessor +
    "init(for:): Unable to evaluate patch actions for patchID: 310990. "
    "Error: /Library/Application Support/VexloAgent/client-data/patch-resources/"
    "mac-patch-actions.json: …";

const MacTests choice(
    "Choice",
    {{.name = "ActionNotInPlan",
      .settings = {"actions/2005=1"},
      .results = {"2003 success"},
      .lines = {"debug " + kProcessor +
                "execute(for:): No action details found for actionID: userLoggedInCheck, "
                "considering as success."},
      .options = {"--action", "2003"}},
     {.name = "NotifierAndUnknownCodesDoNothing",
      .settings = {"actions/2009=a \"b c\"", "actions/3001="},
      .results = {"2009 success", "3001 success"},
      .lines = {kDispatch + "applicationRunningNotifier:[\"a\", \"b c\"] not implemented, "
                            "considering as success.",
                kDispatch + "undefined(\"3001\"):[] not defined, considering as success."},
      .why = {"does nothing", "unknown action, does nothing"}},
     {.name = "ProductAndPatchActionsRunInOrder",
      .results = {"2001 success", "2003 success", "2004 success", "2005 success", "2006 success",
                  "2009 success", "3001 success"},
      .lines = {"info " + kProcessor + "execute(for:): Patch action result for action detail …"},
      .calls = kAllAsked,
      .options = {"--action", "2001", "--action", "2003", "--action", "2004", "--action", "2005",
                  "--action", "2006", "--action", "2009", "--action", "3001"}},
     {.name = "InvalidActionFileRunsNothing",
      .settings = {"agent/action file={\"PatchActions\": []}"},
      .check = refuses(
          "mac-patch-actions.json: PatchActions: expected an object or null, found an array")},
     {.name = "MissingActionFileRunsNothing",
      .settings = {"agent/action file=missing"},
      .lines = {kUnableToEvaluate},
      .check = refuses("mac-patch-actions.json: No such file or directory"),
      .options = {"--log-file", "/dev/stderr"}}});

}  // namespace
}  // namespace end_to_end
