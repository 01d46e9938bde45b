// The result of running one action, with its reason.
#pragma once
#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "Platform/Export.h"

namespace vexlo {

/// The macOS update is deferred by MDM.
struct MacOSUpdateIsDeferred {
  std::optional<std::string> until;  ///< The date; absent if unknown.
  friend bool operator==(const MacOSUpdateIsDeferred&, const MacOSUpdateIsDeferred&) = default;
};

/// The user agreed to close the running applications.
struct GotUserAcknowledgementForPatchingRunningApplications {
  std::map<std::string, std::string> applications;  ///< Bundle identifier to application name.
  friend bool operator==(const GotUserAcknowledgementForPatchingRunningApplications&,
                         const GotUserAcknowledgementForPatchingRunningApplications&) = default;
};

/// Reasons without data.
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

/// The reason for a result.
using PatchActionResultDescription =
    std::variant<MacOSUpdateIsDeferred, GotUserAcknowledgementForPatchingRunningApplications,
                 PlainReason>;

/// The outcome of one action, with an optional reason.
struct PatchActionResult {
  enum class Outcome : std::uint8_t {
    success,     ///< passed or done; deployment may continue
    applyLater,  ///< not now; apply the patch later
    failure,     ///< failed
  };
  using Description = std::optional<PatchActionResultDescription>;

  Outcome outcome;
  Description description;

  [[nodiscard]] static PatchActionResult success(Description why = {}) {
    return {Outcome::success, std::move(why)};
  }
  [[nodiscard]] static PatchActionResult applyLater(Description why = {}) {
    return {Outcome::applyLater, std::move(why)};
  }
  [[nodiscard]] static PatchActionResult failure(Description why = {}) {
    return {Outcome::failure, std::move(why)};
  }

  friend bool operator==(const PatchActionResult&, const PatchActionResult&) = default;
};

/// The alternative's name only: "inSufficientBattery", "macOSUpdateIsDeferred".
[[nodiscard]] VEXLO_EXPORT std::string name(const PatchActionResultDescription& description);
/// The outcome's name: "success", "applyLater" or "failure".
[[nodiscard]] VEXLO_EXPORT std::string name(PatchActionResult::Outcome outcome);

/// For log lines, with the data: macOSUpdateIsDeferred(Optional("2024-Jun-15")).
[[nodiscard]] VEXLO_EXPORT std::string describe(const PatchActionResultDescription& description);
/// For log lines: applyLater(inSufficientBattery), or just success.
[[nodiscard]] VEXLO_EXPORT std::string describe(const PatchActionResult& result);
VEXLO_EXPORT std::ostream& operator<<(std::ostream& out, const PatchActionResult& result);

}  // namespace vexlo
