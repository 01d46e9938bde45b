#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"
#include "VexloPatchDeployment/Validators/Battery/BatteryMeasurement.h"
#include "VexloPatchDeployment/Validators/DeferCheck/DeferralMeasurements.h"
#include "VexloPatchDeployment/Validators/Disk/DiskSpaceMeasurement.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppMeasurements.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserMeasurements.h"

namespace vexlo {
namespace {

constexpr std::string_view kAlwaysPasses = "the check always passes";

constexpr std::array kMinimumBatteryArguments{
    ActionArgument{.name = "minimum battery level",
                   .kind = ArgumentKind::integer,
                   .meaning = "in percent, 0 to 100; an integer",
                   .example = "30",
                   .largest = 100,
                   .ifLarger = "a battery never reaches it",
                   .ifNegative = kAlwaysPasses},
};
constexpr std::array kSiliconBatteryResults{
    DocumentedResult{"success",
                     "the battery level is at least the minimum, the Mac runs on mains power, its "
                     "power source can't be determined, or it has an Intel processor"},
    DocumentedResult{"applyLater(inSufficientBattery)", "the battery level is below the minimum"},
    DocumentedResult{"applyLater(inSufficientArguments)",
                     "the minimum is missing or not an integer"},
};
constexpr std::array kIntelBatteryResults{
    DocumentedResult{"success",
                     "the battery level is at least the minimum, the Mac runs on mains power, its "
                     "power source can't be determined, or it has an Apple silicon processor"},
    kSiliconBatteryResults[1],
    kSiliconBatteryResults[2],
};
constexpr std::array kUserLoggedInResults{
    DocumentedResult{"success",
                     "a user is logged in at the console, or macOS is patched through MDM"},
    DocumentedResult{"applyLater(userNotLoggedIn)", "no user is logged in at the console"},
};
constexpr std::array kMultipleUserLoggedInResults{
    DocumentedResult{"success", "exactly one user is logged on, or macOS is patched through MDM"},
    DocumentedResult{"applyLater(multipleUsersLoggedIn)", "several users are logged on, or none"},
};
constexpr std::array kMinimumDiskSpaceArguments{
    ActionArgument{.name = "minimum free space",
                   .kind = ArgumentKind::integer,
                   .meaning = "in gigabytes of 1,000,000,000 bytes; an integer",
                   .example = "20",
                   .largest = 10'000,
                   .ifLarger = "the argument is in gigabytes",
                   .ifNegative = kAlwaysPasses},
};
constexpr std::array kMinimumDiskSpaceResults{
    DocumentedResult{"success",
                     "at least the minimum is free, or the free space can't be determined"},
    DocumentedResult{"applyLater(inSufficientDiskSpaceForSoftwareUpdate)",
                     "less than the minimum is free"},
    DocumentedResult{"applyLater(inSufficientArguments)",
                     "the minimum is missing or not an integer"},
};
constexpr std::array kMacOSDeferArguments{
    ActionArgument{
        .name = "macOS version",
        .kind = ArgumentKind::macOSVersion,
        .meaning = R"(of the update, exactly as mdmclient reports it: "14.5" is not "14.5.0")",
        .example = "14.5",
        .largest = 26,
        .ifLarger = "on macOS 27 and later mdmclient prints no list of updates, so that the check "
                    "passes, or always applies later if mdmclient fails"},
};
constexpr std::array kMacOSDeferResults{
    DocumentedResult{
        "success",
        "the update is not deferred, mdmclient prints no list of updates (as on macOS 27), "
        "the Mac is not enrolled in MDM, macOS is patched through MDM, or the agent's "
        "settings disable this check"},
    DocumentedResult{"applyLater(macOSUpdateIsDeferred)",
                     "the update is deferred; the result has the last day of the deferral"},
    DocumentedResult{"applyLater(softwareUpdateUnreachable)",
                     "Apple's software update service can't be reached, or mdmclient fails"},
    DocumentedResult{"applyLater(inSufficientArguments)", "the version is missing"},
};
constexpr std::array kInstallMacOSUpdatesArguments{
    ActionArgument{"macOS version", ArgumentKind::macOSVersion, "of the update, for the log only",
                   "14.5"},
    ActionArgument{"update label", ArgumentKind::updateLabel,
                   "as listed by softwareupdate --list; its last word is looked up in that list "
                   "before a retry",
                   "macOS Sonoma 14.5-23F79"},
};
constexpr std::array kInstallMacOSUpdatesResults{
    DocumentedResult{"success", "the update is installed; the Mac restarts"},
    DocumentedResult{"applyLater(credentialsNotEntered)",
                     "the agent's service has no user name or password, or didn't answer within 10 "
                     "seconds a key (Apple silicon only)"},
    DocumentedResult{"applyLater(unableToGetAgentServiceConnection)",
                     "the agent's service can't be reached (Apple silicon only)"},
    DocumentedResult{"applyLater(softwareUpdateUnreachable)",
                     "softwareupdate reports a network error"},
    DocumentedResult{"applyLater(inSufficientDiskSpaceForSoftwareUpdate)",
                     "softwareupdate reports too little free space"},
    DocumentedResult{"applyLater(macOSSoftwareUpdateDownloadFailed)", "the download failed"},
    DocumentedResult{"failure(macOSSoftwareUpdateInstallationFailed)", "the installation failed"},
    DocumentedResult{"applyLater(inSufficientArguments)", "there are fewer than two arguments"},
};
constexpr std::array kApplicationRunningArguments{
    ActionArgument{"bundle identifier", ArgumentKind::bundleIdentifier,
                   "of an application that the patch affects", "com.apple.Safari"},
};
constexpr std::array kApplicationRunningResults{
    DocumentedResult{
        "success",
        "none of the applications is running, or they have been closed without asking, as "
        "the agent's settings say"},
    DocumentedResult{
        "success(gotUserAcknowledgementForPatchingRunningApplications)",
        "the user agreed or didn't answer the last prompt, and the applications have been "
        "closed; the result has their names"},
    DocumentedResult{
        "applyLater(appIsRunning)",
        "an application is running, and the user may not be asked (again today) or didn't "
        "agree"},
    DocumentedResult{"applyLater(inSufficientArguments)", "there is no bundle identifier"},
};
constexpr std::array kApplicationRunningNotifierResults{
    DocumentedResult{"success", "always"},
};
constexpr std::array kInstallAssistantArguments{
    ActionArgument{"application path", ArgumentKind::applicationPath,
                   "of the InstallAssistant application, absolute",
                   "/Applications/Install macOS Sonoma.app"},
};
constexpr std::array kInstallAssistantResults{
    DocumentedResult{"success", "startosinstall has prepared the upgrade; the Mac restarts"},
    kInstallMacOSUpdatesResults[1],
    kInstallMacOSUpdatesResults[2],
    DocumentedResult{"failure(macOSSoftwareUpdateInstallationFailed)", "startosinstall failed"},
    DocumentedResult{"applyLater(inSufficientArguments)", "the path is missing"},
};

/// In the enumeration's order.
constexpr std::array kKnownActions{
    KnownActionRow{
        .action = KnownAction::siliconBatteryPercentageCheck,
        .summary = "Checks the battery level of a Mac with Apple silicon.",
        .arguments = kMinimumBatteryArguments,
        .results = kSiliconBatteryResults,
        .run = hasMinimumBatteryForSiliconMachine,
    },
    KnownActionRow{
        .action = KnownAction::intelBatteryPercentageCheck,
        .summary = "Checks the battery level of a Mac with an Intel processor.",
        .arguments = kMinimumBatteryArguments,
        .results = kIntelBatteryResults,
        .run = hasMinimumBatteryForIntelMachine,
    },
    KnownActionRow{
        .action = KnownAction::userLoggedInCheck,
        .summary = "Checks that a user is logged in at the console.",
        .results = kUserLoggedInResults,
        .run = isUserLoggedIn,
    },
    KnownActionRow{
        .action = KnownAction::multipleUserLoggedInCheck,
        .summary = "Checks that exactly one user is logged on.",
        .results = kMultipleUserLoggedInResults,
        .run = isMultipleUsersLoggedIn,
    },
    KnownActionRow{
        .action = KnownAction::minimumDiskSpaceCheck,
        .summary = "Checks the free space of the startup volume.",
        .arguments = kMinimumDiskSpaceArguments,
        .results = kMinimumDiskSpaceResults,
        .run = hasMinimumDiskSpace,
    },
    KnownActionRow{
        .action = KnownAction::macOSDeferCheck,
        .summary = "Checks that MDM does not defer the macOS update.",
        .arguments = kMacOSDeferArguments,
        .results = kMacOSDeferResults,
        .run = isMacOSUpdateDeferred,
    },
    KnownActionRow{
        .action = KnownAction::installMacOSUpdates,
        .summary = "Downloads and installs a macOS update with softwareupdate; retries once.",
        .arguments = kInstallMacOSUpdatesArguments,
        .restarts = true,
        .results = kInstallMacOSUpdatesResults,
        .run = installmacOSUpdates,
    },
    KnownActionRow{
        .action = KnownAction::applicationRunningCheck,
        .summary = "Checks that no application that the patch affects is running; otherwise closes "
                   "them, with or without asking the user, as the agent's settings say.",
        .arguments = kApplicationRunningArguments,
        .lastRepeats = true,
        .results = kApplicationRunningResults,
        .run = applicationRunningCheck,
    },
    KnownActionRow{
        .action = KnownAction::applicationRunningNotifier,
        .summary = "Does nothing.",
        .doesNothing = true,
        .results = kApplicationRunningNotifierResults,
        .run = applicationRunningNotifier,
    },
    KnownActionRow{
        .action = KnownAction::installMacOSUpdatesUsingInstallAssistant,
        .summary =
            "Upgrades macOS with the startosinstall tool of an InstallAssistant application.",
        .arguments = kInstallAssistantArguments,
        .restarts = true,
        .results = kInstallAssistantResults,
        .run = installMacOSUpdatesUsingInstallAssistant,
    },
};

constexpr std::array kKnownMeasurements{
    MeasurementRow{BatteryMeasurement::kind,
                   "`source` (`battery`, `mains`, `unknown`), `percentage`, `neededPercentage`"},
    MeasurementRow{DiskSpaceMeasurement::kind, "`freeBytes`, `neededBytes`"},
    MeasurementRow{ConsoleUserMeasurement::kind, "`user`"},
    MeasurementRow{LoggedOnUsersMeasurement::kind, "`users`"},
    MeasurementRow{UpdateServiceUnreachable::kind, "`exitCode` of `softwareupdate --list`"},
    MeasurementRow{DeferralMeasurement::kind, "`version`, `isDeferred`, `until`, `updatesListed`"},
    MeasurementRow{RunningApplicationsMeasurement::kind,
                   "`applications`: an object with `bundleID` and `name` for the first one found "
                   "running, or none"},
    MeasurementRow{PromptMeasurement::kind,
                   "`decision` (`promptUser`, `skipDeployment`, `forceDeployment`), `answer` "
                   "(`agreed`, `declined`, `none`, `notShown`, `notAsked`), `postponementsLeft`"},
    MeasurementRow{ToolRunMeasurement::kind,
                   "`step` (`download`, `installation`, `upgrade`), `subject`, `exitCode`, "
                   "`lastLine` of its output"},
    MeasurementRow{UpdateNotListed::kind, "`build`"},
    MeasurementRow{UnusableArguments::kind, "`expected`, `found`"},
    MeasurementRow{RuleMeasurement::kind,
                   "`rule`: what decided without a measurement, such as `notInPlan`, "
                   "`otherProcessor`, `patchedThroughMDM`, `promptDisabled`"},
};

// The table has one row for each action, in the enumeration's order.
static_assert(kKnownActions.size() == kKnownActionCount);
static_assert(std::ranges::all_of(kKnownActions, [](const KnownActionRow& row) {
  return &row == &kKnownActions[std::to_underlying(row.action)];
}));
// Every row has what help and reference show.
static_assert(std::ranges::none_of(kKnownActions, [](const KnownActionRow& row) {
  return row.code.empty() || row.summary.empty() || row.results.empty();
}));
// The actions run in the order of their codes, which have the same length.
static_assert(std::ranges::is_sorted(kKnownActions, {}, &KnownActionRow::code));
// Every integer has a largest value, from which the schema's pattern is generated.
static_assert(std::ranges::all_of(kKnownActions, [](const KnownActionRow& row) {
  return std::ranges::all_of(row.arguments, [](const ActionArgument& argument) {
    std::int64_t largest = argument.largest;
    while (largest >= 10 && largest % 10 == 0) {
      largest /= 10;
    }
    return argument.kind != ArgumentKind::integer || (largest == 1 && argument.largest > 1);
  });
}));
// Optional arguments are the last.
static_assert(std::ranges::all_of(kKnownActions, [](const KnownActionRow& row) {
  return std::ranges::is_sorted(row.arguments, {}, &ActionArgument::isOptional);
}));

}  // namespace

std::span<const KnownActionRow> knownActions() noexcept { return kKnownActions; }

std::span<const MeasurementRow> knownMeasurements() noexcept { return kKnownMeasurements; }

const KnownActionRow& rowOf(KnownAction action) noexcept {
  return kKnownActions[std::to_underlying(action)];
}

const KnownActionRow* findKnownAction(std::string_view codeOrName) noexcept {
  const auto* const found = std::ranges::find_if(kKnownActions, [&](const KnownActionRow& row) {
    return row.code == codeOrName || row.name == codeOrName;
  });
  return found == kKnownActions.end() ? nullptr : found;
}

}  // namespace vexlo
