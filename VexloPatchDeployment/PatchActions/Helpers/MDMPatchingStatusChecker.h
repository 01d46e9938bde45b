// Tells whether the server patches the OS through MDM.
#pragma once

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Reads the agent's patch data file on every question. A status that can't be read counts as
/// disabled. Used from one thread at a time.
class MDMPatchingStatusChecker {
 public:
  /// `plistManager`, on the patch data file, must outlive this object.
  explicit MDMPatchingStatusChecker(PlistManager& plistManager);
  [[nodiscard]] bool isEnabled();

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
