// What the deferral check measures.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.h"

namespace vexlo {

/// Apple's update service is unreachable: listing the updates failed.
struct VEXLO_EXPORT UpdateServiceUnreachable {
  static constexpr std::string_view kind = "updateServiceUnreachable";
  std::int32_t exitCode = 0;  ///< Of `softwareupdate`; may be 0 if only its output says so.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const UpdateServiceUnreachable&,
                         const UpdateServiceUnreachable&) = default;
};

/// Whether MDM defers a macOS version.
struct VEXLO_EXPORT DeferralMeasurement {
  static constexpr std::string_view kind = "deferral";
  std::string version;
  std::optional<bool> isDeferred;    ///< Absent if the deferrals are not available.
  std::optional<std::string> until;  ///< «2024-Jun-15»; absent when not deferred or unreadable.
  bool updatesListed = true;         ///< Whether `mdmclient` printed a list of updates.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const DeferralMeasurement&, const DeferralMeasurement&) = default;
};

}  // namespace vexlo
