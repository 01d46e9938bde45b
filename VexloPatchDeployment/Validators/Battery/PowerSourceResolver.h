// Turns the platform's list of power sources into the one in use.
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

class PowerSourceResolver {
 public:
  virtual ~PowerSourceResolver() = default;
  /// The power source in use now. Absent when the platform names none that is readable.
  [[nodiscard]] virtual std::optional<PowerSource> currentPowerSource() = 0;
};

/// Takes the first description that tells mains power or a battery's level. A description whose
/// capacities give no percentage (a full charge of 0, or beyond 64 bits) tells nothing. Asks its
/// provider anew on every call.
class SystemPowerSource final : public PowerSourceResolver {
 public:
  /// `powerSourcesProvider` must outlive this object.
  explicit SystemPowerSource(PowerSourcesProvider& powerSourcesProvider);
  [[nodiscard]] std::optional<PowerSource> currentPowerSource() override;

 private:
  PowerSourcesProvider& powerSourcesProvider_;
};

}  // namespace vexlo
