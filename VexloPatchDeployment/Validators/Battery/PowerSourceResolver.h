// Determines the power source in use.
#pragma once
#include <cstdint>
#include <optional>
#include <variant>

#include "VexloPatchDeployment/Validators/Battery/PowerSourcesProvider.h"

namespace vexlo {

/// The machine runs on mains power.
struct AcPower {
  friend bool operator==(const AcPower&, const AcPower&) = default;
};
/// The machine runs on battery.
struct BatteryPower {
  std::int64_t percentage = 0;  ///< Normally 0 to 100.
  friend bool operator==(const BatteryPower&, const BatteryPower&) = default;
};
using PowerSource = std::variant<AcPower, BatteryPower>;

/// An evaluation of recorded facts replaces it.
class PowerSourceResolver {
 public:
  virtual ~PowerSourceResolver() = default;
  /// The power source in use; absent if no readable one is listed.
  [[nodiscard]] virtual std::optional<PowerSource> currentPowerSource() = 0;
};

/// Uses the first description that is on mains power or has a battery level. Skips descriptions
/// whose percentage can't be computed (a full charge of 0, overflow). Asks its provider on every
/// call.
class SystemPowerSource final : public PowerSourceResolver {
 public:
  /// `powerSourcesProvider` must outlive this object.
  explicit SystemPowerSource(PowerSourcesProvider& powerSourcesProvider)
      : powerSourcesProvider_(powerSourcesProvider) {}
  [[nodiscard]] std::optional<PowerSource> currentPowerSource() override;

 private:
  PowerSourcesProvider& powerSourcesProvider_;
};

}  // namespace vexlo
