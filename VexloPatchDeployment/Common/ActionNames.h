// The names of the actions and of the reasons for their results.
#pragma once
#include <array>
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

[[nodiscard]] constexpr ActionName nameOf(KnownAction action) {
  switch (action) {
    case KnownAction::siliconBatteryPercentageCheck:
      return {.code = "2001", .name = "siliconBatteryPercentageCheck"};
    case KnownAction::intelBatteryPercentageCheck:
      return {.code = "2002", .name = "intelBatteryPercentageCheck"};
    case KnownAction::userLoggedInCheck:
      return {.code = "2003", .name = "userLoggedInCheck"};
    case KnownAction::multipleUserLoggedInCheck:
      return {.code = "2004", .name = "multipleUserLoggedInCheck"};
    case KnownAction::minimumDiskSpaceCheck:
      return {.code = "2005", .name = "minimumDiskSpaceCheck"};
    case KnownAction::macOSDeferCheck:
      return {.code = "2006", .name = "macOSDeferCheck"};
    case KnownAction::installMacOSUpdates:
      return {.code = "2007", .name = "installMacOSUpdates"};
    case KnownAction::applicationRunningCheck:
      return {.code = "2008", .name = "applicationRunningCheck"};
    case KnownAction::applicationRunningNotifier:
      return {.code = "2009", .name = "applicationRunningNotifier"};
    case KnownAction::installMacOSUpdatesUsingInstallAssistant:
      return {.code = "2010", .name = "installMacOSUpdatesUsingInstallAssistant"};
  }
  return {};  // not an action
}

/// The number of actions; their values are below it.
inline constexpr std::uint8_t kKnownActionCount = [] {
  std::uint8_t count = 0;
  while (!nameOf(KnownAction{count}).name.empty()) {
    ++count;
  }
  return count;
}();

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

/// The enumerator's name: "inSufficientBattery".
[[nodiscard]] constexpr std::string_view name(PlainReason reason) {
  switch (reason) {
    case PlainReason::softwareUpdateUnreachable:
      return "softwareUpdateUnreachable";
    case PlainReason::inSufficientBattery:
      return "inSufficientBattery";
    case PlainReason::inSufficientDiskSpaceForSoftwareUpdate:
      return "inSufficientDiskSpaceForSoftwareUpdate";
    case PlainReason::userNotLoggedIn:
      return "userNotLoggedIn";
    case PlainReason::multipleUsersLoggedIn:
      return "multipleUsersLoggedIn";
    case PlainReason::credentialsNotEntered:
      return "credentialsNotEntered";
    case PlainReason::unableToGetAgentServiceConnection:
      return "unableToGetAgentServiceConnection";
    case PlainReason::macOSSoftwareUpdateDownloadFailed:
      return "macOSSoftwareUpdateDownloadFailed";
    case PlainReason::macOSSoftwareUpdateInstallationFailed:
      return "macOSSoftwareUpdateInstallationFailed";
    case PlainReason::inSufficientArguments:
      return "inSufficientArguments";
    case PlainReason::appIsRunning:
      return "appIsRunning";
    case PlainReason::unDefined:
      break;
  }
  return "unDefined";
}

}  // namespace vexlo
