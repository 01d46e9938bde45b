// Answers whether MDM defers a macOS version, and until when.
#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

namespace vexlo {

/// The answer for one macOS version.
struct MacOSUpdateDeferral {
  std::optional<bool> isDeferred;   ///< Absent when the updates could not be obtained.
  std::optional<std::string> date;  ///< The deferral's last day, «2024-Jun-15»; deferred only.
  friend bool operator==(const MacOSUpdateDeferral&, const MacOSUpdateDeferral&) = default;
};

/// Looks a macOS version up among the updates that the machine sees. A version that isn't among
/// them, and a deferral whose date is past or unreadable, count as not deferred. Stateless: every
/// question asks for the updates anew. Used from one thread at a time.
class MacOSUpdateDeferralChecker {
 public:
  using StartOfDay = std::function<platform::Moment(std::chrono::year_month_day)>;

  /// `availableOSUpdatesResolver` must outlive this object; `now` tells the
  /// moment that deferral dates are compared with, and `startOfDay` when their days begin.
  explicit MacOSUpdateDeferralChecker(AvailableOSUpdatesResolver& availableOSUpdatesResolver,
                                      platform::Clock now = platform::systemClock(),
                                      StartOfDay startOfDay = platform::startOfDay);

  /// Whether `version`, compared exactly, is deferred now. Days begin at midnight in the
  /// process's time zone.
  [[nodiscard]] MacOSUpdateDeferral isMacOSUpdateDeferred(std::string_view version);

 private:
  [[nodiscard]] MacOSUpdateDeferral deferralOf(std::string_view version) const;
  /// Whether the deferral until `dateText`, «2024-06-15», still runs.
  [[nodiscard]] bool validate(std::string_view dateText) const;

  AvailableOSUpdatesResolver& availableOSUpdatesResolver_;
  platform::Clock now_;
  StartOfDay startOfDay_;
};

}  // namespace vexlo
