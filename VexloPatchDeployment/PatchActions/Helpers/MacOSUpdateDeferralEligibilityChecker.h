// Tells whether the agent's settings switch the macOS deferral check off.
#pragma once
#include <memory>

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Reads the agent's patch data file on every question. A switch that can't be read counts as
/// not set. Used from one thread at a time.
class MacOSUpdateDeferralEligibilityChecker {
 public:
  /// `plistManager`, on the patch data file, is shared with the caller and never null.
  explicit MacOSUpdateDeferralEligibilityChecker(std::shared_ptr<PlistManager> plistManager);
  [[nodiscard]] bool isDisabled();

 private:
  std::shared_ptr<PlistManager> plistManager_;
};

}  // namespace vexlo
