// Tells whether the agent's settings switch the macOS deferral check off.
#pragma once

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Reads the agent's patch data file on every question. A switch that can't be read counts as
/// not set. Used from one thread at a time.
class MacOSUpdateDeferralEligibilityChecker {
 public:
  /// `plistManager`, on the patch data file, must outlive this object.
  explicit MacOSUpdateDeferralEligibilityChecker(PlistManager& plistManager);
  [[nodiscard]] bool isDisabled();

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
