// Answers whether the battery level allows a patch to be installed.
#pragma once
#include <cstdint>

#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"

namespace vexlo {

/// Compares the battery level with a required minimum. A machine on mains power, and one whose
/// power source can't be learnt, counts as sufficient, so that deployment goes on. Stateless:
/// every question reads the power source anew. Used from one thread at a time.
class BatteryLevelChecker {
 public:
  /// `powerSourceResolver` must outlive this object.
  explicit BatteryLevelChecker(PowerSourceResolver& powerSourceResolver);
  /// `minimumPercent` is usually 0 to 100; equal is enough.
  [[nodiscard]] bool hasMinimumBattery(std::int64_t minimumPercent);

 private:
  PowerSourceResolver& powerSourceResolver_;
};

}  // namespace vexlo
