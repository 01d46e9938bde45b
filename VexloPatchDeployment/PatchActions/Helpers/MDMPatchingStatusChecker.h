// Tells whether the server patches the OS through MDM.
#pragma once
#include <memory>

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Reads the agent's patch data file on every question. A status that can't be read counts as
/// disabled. Used from one thread at a time.
class MDMPatchingStatusChecker {
 public:
  /// `plistManager`, on the patch data file, is shared with the caller and never null.
  explicit MDMPatchingStatusChecker(std::shared_ptr<PlistManager> plistManager);
  [[nodiscard]] bool isEnabled();

 private:
  std::shared_ptr<PlistManager> plistManager_;
};

}  // namespace vexlo
