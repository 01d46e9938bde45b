// Checks whether the battery level allows a patch to be installed.
#pragma once
#include <cstdint>

#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"

namespace vexlo {

/// Compares the battery level with a required minimum. Mains power and an unknown power source
/// count as sufficient, so that deployment continues. Reads the power source on every call. Not
/// thread-safe.
class BatteryLevelChecker {
 public:
  /// `powerSourceResolver` must outlive this object.
  explicit BatteryLevelChecker(PowerSourceResolver& powerSourceResolver)
      : powerSourceResolver_(powerSourceResolver) {}
  /// Whether the level is at least `minimumPercent`, usually 0 to 100.
  [[nodiscard]] bool hasMinimumBattery(std::int64_t minimumPercent);

 private:
  PowerSourceResolver& powerSourceResolver_;
};

}  // namespace vexlo
