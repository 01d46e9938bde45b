// The table of known actions: codes, names and documentation, from which help, reference, JSON
// Schema and the check of action files are generated.
#pragma once
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Common/ActionID.h"

namespace vexlo {

struct KnownActionRow {
  KnownAction action;
  std::string_view code;   ///< In the patch action file.
  std::int64_t sortOrder;  ///< The code as a number.
  std::string_view name;   ///< In log lines and in the serialized form.
};

/// In the enumeration's order.
inline constexpr std::array kKnownActions{
    KnownActionRow{KnownAction::siliconBatteryPercentageCheck, "2001", 2001,
                   "siliconBatteryPercentageCheck"},
    KnownActionRow{KnownAction::intelBatteryPercentageCheck, "2002", 2002,
                   "intelBatteryPercentageCheck"},
    KnownActionRow{KnownAction::userLoggedInCheck, "2003", 2003, "userLoggedInCheck"},
    KnownActionRow{KnownAction::multipleUserLoggedInCheck, "2004", 2004,
                   "multipleUserLoggedInCheck"},
    KnownActionRow{KnownAction::minimumDiskSpaceCheck, "2005", 2005, "minimumDiskSpaceCheck"},
    KnownActionRow{KnownAction::macOSDeferCheck, "2006", 2006, "macOSDeferCheck"},
    KnownActionRow{KnownAction::installMacOSUpdates, "2007", 2007, "installMacOSUpdates"},
    KnownActionRow{KnownAction::applicationRunningCheck, "2008", 2008, "applicationRunningCheck"},
    KnownActionRow{KnownAction::applicationRunningNotifier, "2009", 2009,
                   "applicationRunningNotifier"},
    KnownActionRow{KnownAction::installMacOSUpdatesUsingInstallAssistant, "2010", 2010,
                   "installMacOSUpdatesUsingInstallAssistant"},
};

/// The number of actions. The switch over all of them stops the build when one is new; the
/// assertions below then ask for its row.
[[nodiscard]] consteval std::size_t knownActionCount() {
  std::size_t count = 0;
  for (std::uint8_t value = 0;; ++value) {
    switch (static_cast<KnownAction>(value)) {
      case KnownAction::siliconBatteryPercentageCheck:
      case KnownAction::intelBatteryPercentageCheck:
      case KnownAction::userLoggedInCheck:
      case KnownAction::multipleUserLoggedInCheck:
      case KnownAction::minimumDiskSpaceCheck:
      case KnownAction::macOSDeferCheck:
      case KnownAction::installMacOSUpdates:
      case KnownAction::applicationRunningCheck:
      case KnownAction::applicationRunningNotifier:
      case KnownAction::installMacOSUpdatesUsingInstallAssistant:
        ++count;
        continue;
    }
    return count;
  }
}

/// Whether a table has one row for each action, in the enumeration's order. `action` names the
/// row's member.
template <typename Table, typename Action>
[[nodiscard]] consteval bool coversEveryAction(const Table& table, Action action) {
  for (std::size_t index = 0; index < table.size(); ++index) {
    if (std::to_underlying(table[index].*action) != index) {
      return false;
    }
  }
  return table.size() == knownActionCount();
}

static_assert(coversEveryAction(kKnownActions, &KnownActionRow::action));
// The running order is that of the codes.
static_assert(std::ranges::is_sorted(kKnownActions, {}, &KnownActionRow::sortOrder));

[[nodiscard]] constexpr const KnownActionRow& rowOf(KnownAction action) {
  return kKnownActions[std::to_underlying(action)];
}

/// The row of the action with this code or name; null if there is none.
[[nodiscard]] constexpr const KnownActionRow* findKnownAction(std::string_view codeOrName) {
  const auto* const found = std::ranges::find_if(kKnownActions, [&](const KnownActionRow& row) {
    return row.code == codeOrName || row.name == codeOrName;
  });
  return found == kKnownActions.end() ? nullptr : found;
}

/// The format of an argument.
enum class ArgumentKind : std::uint8_t {
  percent,           ///< A battery level: an integer.
  gigabytes,         ///< Disk space in units of 1,000,000,000 bytes: an integer.
  macOSVersion,      ///< Such as "14.5".
  updateLabel,       ///< A label of `softwareupdate`.
  bundleIdentifier,  ///< Such as "com.apple.Safari".
  applicationPath,   ///< The absolute path of an application.
};

struct ActionArgument {
  std::string_view name;  ///< "minimum battery level"
  ArgumentKind kind;
  std::string_view meaning;  ///< With unit and limits; lower case, without a full stop.
  std::string_view example;
};

struct ActionAnswer {
  std::string_view result;  ///< "applyLater(inSufficientBattery)"
  std::string_view when;    ///< Lower case, without a full stop.
};

/// An action's documentation for authors of action files. All arguments are required; with
/// `lastRepeats` the last one may be repeated. Further arguments are ignored.
struct ActionDocumentation {
  KnownAction action;
  std::string_view summary;  ///< One sentence.
  std::span<const ActionArgument> arguments;
  bool lastRepeats = false;
  bool restarts = false;     ///< The Mac restarts after success.
  bool doesNothing = false;  ///< Listed only for its code.
  std::span<const ActionAnswer> answers;
};

inline constexpr std::array kMinimumBatteryArguments{
    ActionArgument{"minimum battery level", ArgumentKind::percent,
                   "in percent, 0 to 100; an integer", "30"},
};
inline constexpr std::array kSiliconBatteryAnswers{
    ActionAnswer{"success",
                 "the battery level is at least the minimum, the Mac runs on mains power, its "
                 "power source can't be determined, or it has an Intel processor"},
    ActionAnswer{"applyLater(inSufficientBattery)", "the battery level is below the minimum"},
    ActionAnswer{"applyLater(inSufficientArguments)", "the minimum is missing or not an integer"},
};
inline constexpr std::array kIntelBatteryAnswers{
    ActionAnswer{"success",
                 "the battery level is at least the minimum, the Mac runs on mains power, its "
                 "power source can't be determined, or it has an Apple silicon processor"},
    kSiliconBatteryAnswers[1],
    kSiliconBatteryAnswers[2],
};
inline constexpr std::array kUserLoggedInAnswers{
    ActionAnswer{"success", "a user is logged in at the console, or macOS is patched through MDM"},
    ActionAnswer{"applyLater(userNotLoggedIn)", "no user is logged in at the console"},
};
inline constexpr std::array kMultipleUserLoggedInAnswers{
    ActionAnswer{"success", "exactly one user is logged on, or macOS is patched through MDM"},
    ActionAnswer{"applyLater(multipleUsersLoggedIn)", "several users are logged on, or none"},
};
inline constexpr std::array kMinimumDiskSpaceArguments{
    ActionArgument{"minimum free space", ArgumentKind::gigabytes,
                   "in gigabytes of 1,000,000,000 bytes; an integer", "20"},
};
inline constexpr std::array kMinimumDiskSpaceAnswers{
    ActionAnswer{"success",
                 "that much is free on the start-up volume, or that can't be determined"},
    ActionAnswer{"applyLater(inSufficientDiskSpaceForSoftwareUpdate)", "less is free"},
    ActionAnswer{"applyLater(inSufficientArguments)", "the minimum is missing or not an integer"},
};
inline constexpr std::array kMacOSDeferArguments{
    ActionArgument{"macOS version", ArgumentKind::macOSVersion,
                   R"(of the update, exactly as mdmclient spells it: "14.5" is not "14.5.0")",
                   "14.5"},
};
inline constexpr std::array kMacOSDeferAnswers{
    ActionAnswer{"success",
                 "the update is not deferred, the Mac is not enrolled in MDM, macOS is patched "
                 "through MDM, or the agent's settings disable this check"},
    ActionAnswer{"applyLater(macOSUpdateIsDeferred)",
                 "the update is deferred; the result holds the date up to which it is"},
    ActionAnswer{"applyLater(softwareUpdateUnreachable)",
                 "Apple's software update service can't be reached"},
    ActionAnswer{"applyLater(inSufficientArguments)", "the version is missing"},
};
inline constexpr std::array kInstallMacOSUpdatesArguments{
    ActionArgument{"macOS version", ArgumentKind::macOSVersion, "of the update, for the log only",
                   "14.5"},
    ActionArgument{"update label", ArgumentKind::updateLabel,
                   "as softwareupdate --list shows it; what follows its last space is looked up in "
                   "that list before the second attempt",
                   "macOS Sonoma 14.5-23F79"},
};
inline constexpr std::array kInstallMacOSUpdatesAnswers{
    ActionAnswer{"success", "the update is installed; the Mac restarts"},
    ActionAnswer{"applyLater(credentialsNotEntered)",
                 "the agent's service has no user name or password (Apple silicon only)"},
    ActionAnswer{"applyLater(unableToGetAgentServiceConnection)",
                 "the agent's service can't be reached (Apple silicon only)"},
    ActionAnswer{"applyLater(softwareUpdateUnreachable)", "softwareupdate reports a network error"},
    ActionAnswer{"applyLater(inSufficientDiskSpaceForSoftwareUpdate)",
                 "softwareupdate reports too little free space"},
    ActionAnswer{"applyLater(macOSSoftwareUpdateDownloadFailed)", "the download failed"},
    ActionAnswer{"failure(macOSSoftwareUpdateInstallationFailed)", "the installation failed"},
    ActionAnswer{"applyLater(inSufficientArguments)", "there are fewer than two arguments"},
};
inline constexpr std::array kApplicationRunningArguments{
    ActionArgument{"bundle identifier", ArgumentKind::bundleIdentifier,
                   "of an application that the patch would disturb", "com.apple.Safari"},
};
inline constexpr std::array kApplicationRunningAnswers{
    ActionAnswer{"success",
                 "none of the applications is running, or those that were have been closed because "
                 "the agent's settings say so"},
    ActionAnswer{"success(gotUserAcknowledgementForPatchingRunningApplications)",
                 "the user agreed, or the last prompt went unanswered, and the applications have "
                 "been closed; the result holds their names"},
    ActionAnswer{"applyLater(appIsRunning)",
                 "an application is running, and the user may not be asked, not again today, or "
                 "didn't agree"},
    ActionAnswer{"applyLater(inSufficientArguments)", "there is no bundle identifier"},
};
inline constexpr std::array kApplicationRunningNotifierAnswers{
    ActionAnswer{"success", "always"},
};
inline constexpr std::array kInstallAssistantArguments{
    ActionArgument{"application path", ArgumentKind::applicationPath,
                   "of the InstallAssistant application, absolute",
                   "/Applications/Install macOS Sonoma.app"},
};
inline constexpr std::array kInstallAssistantAnswers{
    ActionAnswer{"success", "startosinstall has prepared the upgrade; the Mac restarts"},
    kInstallMacOSUpdatesAnswers[1],
    kInstallMacOSUpdatesAnswers[2],
    ActionAnswer{"failure(macOSSoftwareUpdateInstallationFailed)", "startosinstall failed"},
    ActionAnswer{"applyLater(inSufficientArguments)", "the path is missing"},
};

/// In the enumeration's order.
inline constexpr std::array kActionDocumentation{
    ActionDocumentation{
        .action = KnownAction::siliconBatteryPercentageCheck,
        .summary = "Checks the battery level of a Mac with Apple silicon.",
        .arguments = kMinimumBatteryArguments,
        .answers = kSiliconBatteryAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::intelBatteryPercentageCheck,
        .summary = "Checks the battery level of a Mac with an Intel processor.",
        .arguments = kMinimumBatteryArguments,
        .answers = kIntelBatteryAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::userLoggedInCheck,
        .summary = "Checks that a user is logged in at the console.",
        .arguments = {},
        .answers = kUserLoggedInAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::multipleUserLoggedInCheck,
        .summary = "Checks that exactly one user is logged on.",
        .arguments = {},
        .answers = kMultipleUserLoggedInAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::minimumDiskSpaceCheck,
        .summary = "Checks the free space of the start-up volume.",
        .arguments = kMinimumDiskSpaceArguments,
        .answers = kMinimumDiskSpaceAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::macOSDeferCheck,
        .summary = "Checks that MDM does not defer the macOS update.",
        .arguments = kMacOSDeferArguments,
        .answers = kMacOSDeferAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::installMacOSUpdates,
        .summary = "Downloads and installs a macOS update with softwareupdate; a failed attempt is "
                   "repeated once.",
        .arguments = kInstallMacOSUpdatesArguments,
        .restarts = true,
        .answers = kInstallMacOSUpdatesAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::applicationRunningCheck,
        .summary = "Checks that no application runs that the patch would disturb; otherwise closes "
                   "them, asking the user first or not, as the agent's settings say.",
        .arguments = kApplicationRunningArguments,
        .lastRepeats = true,
        .answers = kApplicationRunningAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::applicationRunningNotifier,
        .summary = "Does nothing.",
        .arguments = {},
        .doesNothing = true,
        .answers = kApplicationRunningNotifierAnswers,
    },
    ActionDocumentation{
        .action = KnownAction::installMacOSUpdatesUsingInstallAssistant,
        .summary =
            "Upgrades macOS with the startosinstall tool of an InstallAssistant application.",
        .arguments = kInstallAssistantArguments,
        .restarts = true,
        .answers = kInstallAssistantAnswers,
    },
};
static_assert(coversEveryAction(kActionDocumentation, &ActionDocumentation::action));

[[nodiscard]] constexpr const ActionDocumentation& documentationOf(KnownAction action) {
  return kActionDocumentation[std::to_underlying(action)];
}

}  // namespace vexlo
