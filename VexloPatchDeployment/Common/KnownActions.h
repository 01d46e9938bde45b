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

/// The format of an argument.
enum class ArgumentKind : std::uint8_t {
  integer,           ///< In any unit; see `ActionArgument::most`.
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
  // For integers:
  std::int64_t most = 0;             ///< The largest value that makes sense: a power of ten.
  std::string_view whyNotMore = {};  ///< What is odd about larger values.
};

struct ActionAnswer {
  std::string_view result;  ///< "applyLater(inSufficientBattery)"
  std::string_view when;    ///< Lower case, without a full stop.
};

[[nodiscard]] constexpr std::int64_t numberOfCode(std::string_view digits) {
  std::int64_t number = 0;
  for (const char digit : digits) {
    number = number * 10 + (digit - '0');
  }
  return number;
}

/// An action and its documentation for authors of action files. All arguments are required; with
/// `lastRepeats` the last one may be repeated. Further arguments are ignored.
struct KnownActionRow {
  KnownAction action;
  std::string_view code;                        ///< In the patch action file.
  std::int64_t sortOrder = numberOfCode(code);  ///< The code as a number.
  std::string_view name;                        ///< In log lines and in the serialized form.
  std::string_view summary;                     ///< One sentence.
  std::span<const ActionArgument> arguments;
  bool lastRepeats = false;
  bool restarts = false;     ///< The Mac restarts after success.
  bool doesNothing = false;  ///< Listed only for its code.
  std::span<const ActionAnswer> answers;
};

inline constexpr std::array kMinimumBatteryArguments{
    ActionArgument{"minimum battery level", ArgumentKind::integer,
                   "in percent, 0 to 100; an integer", "30", 100, "a battery never reaches it"},
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
    ActionArgument{"minimum free space", ArgumentKind::integer,
                   "in gigabytes of 1,000,000,000 bytes; an integer", "20", 10'000,
                   "the argument is in gigabytes"},
};
inline constexpr std::array kMinimumDiskSpaceAnswers{
    ActionAnswer{"success", "at least the minimum is free, or the free space can't be determined"},
    ActionAnswer{"applyLater(inSufficientDiskSpaceForSoftwareUpdate)",
                 "less than the minimum is free"},
    ActionAnswer{"applyLater(inSufficientArguments)", "the minimum is missing or not an integer"},
};
inline constexpr std::array kMacOSDeferArguments{
    ActionArgument{"macOS version", ArgumentKind::macOSVersion,
                   R"(of the update, exactly as mdmclient reports it: "14.5" is not "14.5.0")",
                   "14.5"},
};
inline constexpr std::array kMacOSDeferAnswers{
    ActionAnswer{"success",
                 "the update is not deferred, the Mac is not enrolled in MDM, macOS is patched "
                 "through MDM, or the agent's settings disable this check"},
    ActionAnswer{"applyLater(macOSUpdateIsDeferred)",
                 "the update is deferred; the result has the last day of the deferral"},
    ActionAnswer{"applyLater(softwareUpdateUnreachable)",
                 "Apple's software update service can't be reached"},
    ActionAnswer{"applyLater(inSufficientArguments)", "the version is missing"},
};
inline constexpr std::array kInstallMacOSUpdatesArguments{
    ActionArgument{"macOS version", ArgumentKind::macOSVersion, "of the update, for the log only",
                   "14.5"},
    ActionArgument{"update label", ArgumentKind::updateLabel,
                   "as listed by softwareupdate --list; its last word is looked up in that list "
                   "before a retry",
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
                   "of an application that the patch affects", "com.apple.Safari"},
};
inline constexpr std::array kApplicationRunningAnswers{
    ActionAnswer{"success",
                 "none of the applications is running, or they have been closed without asking, as "
                 "the agent's settings say"},
    ActionAnswer{"success(gotUserAcknowledgementForPatchingRunningApplications)",
                 "the user agreed or didn't answer the last prompt, and the applications have been "
                 "closed; the result has their names"},
    ActionAnswer{"applyLater(appIsRunning)",
                 "an application is running, and the user may not be asked (again today) or didn't "
                 "agree"},
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
inline constexpr std::array kKnownActions{
    KnownActionRow{
        .action = KnownAction::siliconBatteryPercentageCheck,
        .code = "2001",
        .name = "siliconBatteryPercentageCheck",
        .summary = "Checks the battery level of a Mac with Apple silicon.",
        .arguments = kMinimumBatteryArguments,
        .answers = kSiliconBatteryAnswers,
    },
    KnownActionRow{
        .action = KnownAction::intelBatteryPercentageCheck,
        .code = "2002",
        .name = "intelBatteryPercentageCheck",
        .summary = "Checks the battery level of a Mac with an Intel processor.",
        .arguments = kMinimumBatteryArguments,
        .answers = kIntelBatteryAnswers,
    },
    KnownActionRow{
        .action = KnownAction::userLoggedInCheck,
        .code = "2003",
        .name = "userLoggedInCheck",
        .summary = "Checks that a user is logged in at the console.",
        .arguments = {},
        .answers = kUserLoggedInAnswers,
    },
    KnownActionRow{
        .action = KnownAction::multipleUserLoggedInCheck,
        .code = "2004",
        .name = "multipleUserLoggedInCheck",
        .summary = "Checks that exactly one user is logged on.",
        .arguments = {},
        .answers = kMultipleUserLoggedInAnswers,
    },
    KnownActionRow{
        .action = KnownAction::minimumDiskSpaceCheck,
        .code = "2005",
        .name = "minimumDiskSpaceCheck",
        .summary = "Checks the free space of the startup volume.",
        .arguments = kMinimumDiskSpaceArguments,
        .answers = kMinimumDiskSpaceAnswers,
    },
    KnownActionRow{
        .action = KnownAction::macOSDeferCheck,
        .code = "2006",
        .name = "macOSDeferCheck",
        .summary = "Checks that MDM does not defer the macOS update.",
        .arguments = kMacOSDeferArguments,
        .answers = kMacOSDeferAnswers,
    },
    KnownActionRow{
        .action = KnownAction::installMacOSUpdates,
        .code = "2007",
        .name = "installMacOSUpdates",
        .summary = "Downloads and installs a macOS update with softwareupdate; retries once.",
        .arguments = kInstallMacOSUpdatesArguments,
        .restarts = true,
        .answers = kInstallMacOSUpdatesAnswers,
    },
    KnownActionRow{
        .action = KnownAction::applicationRunningCheck,
        .code = "2008",
        .name = "applicationRunningCheck",
        .summary = "Checks that no application that the patch affects is running; otherwise closes "
                   "them, with or without asking the user, as the agent's settings say.",
        .arguments = kApplicationRunningArguments,
        .lastRepeats = true,
        .answers = kApplicationRunningAnswers,
    },
    KnownActionRow{
        .action = KnownAction::applicationRunningNotifier,
        .code = "2009",
        .name = "applicationRunningNotifier",
        .summary = "Does nothing.",
        .arguments = {},
        .doesNothing = true,
        .answers = kApplicationRunningNotifierAnswers,
    },
    KnownActionRow{
        .action = KnownAction::installMacOSUpdatesUsingInstallAssistant,
        .code = "2010",
        .name = "installMacOSUpdatesUsingInstallAssistant",
        .summary =
            "Upgrades macOS with the startosinstall tool of an InstallAssistant application.",
        .arguments = kInstallAssistantArguments,
        .restarts = true,
        .answers = kInstallAssistantAnswers,
    },
};

/// The number of actions. For a new action, the build fails at the switch until it is listed, and
/// then at the assertion below until it has a row.
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

// The table has one row for each action, in the enumeration's order.
static_assert(kKnownActions.size() == knownActionCount());
static_assert(std::ranges::all_of(kKnownActions, [](const KnownActionRow& row) {
  return &row == &kKnownActions[std::to_underlying(row.action)];
}));
// Every row has the members that help and reference show.
static_assert(std::ranges::none_of(kKnownActions, [](const KnownActionRow& row) {
  return row.code.empty() || row.name.empty() || row.summary.empty() || row.answers.empty();
}));
// The actions run in the order of their codes.
static_assert(std::ranges::is_sorted(kKnownActions, {}, &KnownActionRow::sortOrder));
// Every integer has a largest value, from which the schema's pattern is generated.
static_assert(std::ranges::all_of(kKnownActions, [](const KnownActionRow& row) {
  return std::ranges::all_of(row.arguments, [](const ActionArgument& argument) {
    std::int64_t most = argument.most;
    while (most >= 10 && most % 10 == 0) {
      most /= 10;
    }
    return argument.kind != ArgumentKind::integer || (most == 1 && argument.most > 1);
  });
}));

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

}  // namespace vexlo
