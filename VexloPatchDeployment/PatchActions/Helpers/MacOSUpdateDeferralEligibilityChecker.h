// Checks whether the agent's settings disable the macOS deferral check.
#pragma once

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Reads the agent's patch data file on every call. An unreadable setting counts as false. Not
/// thread-safe.
class MacOSUpdateDeferralEligibilityChecker {
 public:
  /// `plistManager`, for the patch data file, must outlive this object.
  explicit MacOSUpdateDeferralEligibilityChecker(PlistManager& plistManager)
      : plistManager_(plistManager) {}
  [[nodiscard]] bool isDisabled();

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
