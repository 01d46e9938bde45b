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
#include "VexloPatchDeployment/Common/ActionNames.h"

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
