// The names of the actions and of the reasons for their results.
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vexlo {

/// The actions that this library knows, in the order of their codes.
enum class KnownAction : std::uint8_t {
  siliconBatteryPercentageCheck,             ///< minimum battery level on an Apple silicon machine
  intelBatteryPercentageCheck,               ///< minimum battery level on an Intel machine
  userLoggedInCheck,                         ///< a user is logged in
  multipleUserLoggedInCheck,                 ///< exactly one user is logged on
  minimumDiskSpaceCheck,                     ///< minimum free disk space
  macOSDeferCheck,                           ///< the macOS update is not deferred by MDM
  installMacOSUpdates,                       ///< download and install a macOS software update
  applicationRunningCheck,                   ///< no application that the patch affects is running
  applicationRunningNotifier,                ///< does nothing
  installMacOSUpdatesUsingInstallAssistant,  ///< upgrade with an InstallAssistant app
};

struct ActionName {
  std::string_view code;  ///< In the patch action file.
  std::string_view name;  ///< The enumerator: in log lines and in the serialized form.
};

/// In the enumeration's order.
inline constexpr std::array kActionNames{
    ActionName{.code = "2001", .name = "siliconBatteryPercentageCheck"},
    ActionName{.code = "2002", .name = "intelBatteryPercentageCheck"},
    ActionName{.code = "2003", .name = "userLoggedInCheck"},
    ActionName{.code = "2004", .name = "multipleUserLoggedInCheck"},
    ActionName{.code = "2005", .name = "minimumDiskSpaceCheck"},
    ActionName{.code = "2006", .name = "macOSDeferCheck"},
    ActionName{.code = "2007", .name = "installMacOSUpdates"},
    ActionName{.code = "2008", .name = "applicationRunningCheck"},
    ActionName{.code = "2009", .name = "applicationRunningNotifier"},
    ActionName{.code = "2010", .name = "installMacOSUpdatesUsingInstallAssistant"},
};

[[nodiscard]] constexpr ActionName nameOf(KnownAction action) {
  return kActionNames.at(static_cast<std::size_t>(action));
}

/// The number of actions; their values are below it.
inline constexpr std::uint8_t kKnownActionCount = kActionNames.size();

/// All actions, in the order of their codes, which is the running order.
inline constexpr auto kAllActions = [] {
  std::array<KnownAction, kKnownActionCount> actions{};
  for (std::uint8_t value = 0; KnownAction & action : actions) {
    action = KnownAction{value++};
  }
  return actions;
}();

/// Reasons for a result, without data.
enum class PlainReason : std::uint8_t {
  softwareUpdateUnreachable,               ///< Apple's software update service can't be reached
  inSufficientBattery,                     ///< battery level below the required minimum
  inSufficientDiskSpaceForSoftwareUpdate,  ///< free disk space below the required minimum
  userNotLoggedIn,                         ///< no user is logged in
  multipleUsersLoggedIn,                   ///< not exactly one user is logged on
  credentialsNotEntered,                   ///< no user credentials are stored for the update
  unableToGetAgentServiceConnection,       ///< the agent's service can't be reached
  macOSSoftwareUpdateDownloadFailed,       ///< the update download failed
  macOSSoftwareUpdateInstallationFailed,   ///< the update installation failed
  inSufficientArguments,                   ///< the action's arguments are missing or unusable
  appIsRunning,                            ///< an application that the patch affects is running
  unDefined,                               ///< no specific reason
};

/// In the enumeration's order.
inline constexpr auto kPlainReasonNames = std::to_array<std::string_view>(
    {"softwareUpdateUnreachable", "inSufficientBattery", "inSufficientDiskSpaceForSoftwareUpdate",
     "userNotLoggedIn", "multipleUsersLoggedIn", "credentialsNotEntered",
     "unableToGetAgentServiceConnection", "macOSSoftwareUpdateDownloadFailed",
     "macOSSoftwareUpdateInstallationFailed", "inSufficientArguments", "appIsRunning",
     "unDefined"});
static_assert(kPlainReasonNames.size() == static_cast<std::size_t>(PlainReason::unDefined) + 1);

/// The enumerator's name: "inSufficientBattery".
[[nodiscard]] constexpr std::string_view name(PlainReason reason) {
  return kPlainReasonNames.at(static_cast<std::size_t>(reason));
}

}  // namespace vexlo
