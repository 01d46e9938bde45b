// Checks whether MDM defers a macOS version, and until when.
#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Validators/DeferCheck/AvailableOSUpdatesResolver.h"

namespace vexlo {

/// The result for one macOS version.
struct MacOSUpdateDeferral {
  std::optional<bool> isDeferred;   ///< Absent if the updates are not available.
  std::optional<std::string> date;  ///< The last day, «2024-Jun-15», if deferred.
  friend bool operator==(const MacOSUpdateDeferral&, const MacOSUpdateDeferral&) = default;
};

/// Looks up a macOS version in the available updates. A version that isn't listed, and a deferral
/// whose date is past or unreadable, count as not deferred. Requests the updates on every call. Not
/// thread-safe.
class MacOSUpdateDeferralChecker {
 public:
  using StartOfDay = std::function<platform::Moment(std::chrono::year_month_day)>;

  /// `availableOSUpdatesResolver` must outlive this object. `now` returns the time that deferrals
  /// are compared with, `startOfDay` the time at which a day begins.
  explicit MacOSUpdateDeferralChecker(AvailableOSUpdatesResolver& availableOSUpdatesResolver,
                                      platform::Clock now = platform::systemClock(),
                                      StartOfDay startOfDay = platform::startOfDay)
      : availableOSUpdatesResolver_(availableOSUpdatesResolver),
        now_(std::move(now)),
        startOfDay_(std::move(startOfDay)) {}

  /// Whether `version`, compared exactly, is deferred now. Days start at midnight in the process's
  /// time zone.
  [[nodiscard]] MacOSUpdateDeferral isMacOSUpdateDeferred(std::string_view version);

 private:
  [[nodiscard]] MacOSUpdateDeferral deferralOf(
      std::string_view version, const std::optional<AvailableOSUpdates>& available) const;
  /// Whether a deferral until `dateText`, «2024-06-15», is still in effect.
  [[nodiscard]] bool validate(std::string_view dateText) const;

  AvailableOSUpdatesResolver& availableOSUpdatesResolver_;
  platform::Clock now_;
  StartOfDay startOfDay_;
};

}  // namespace vexlo
