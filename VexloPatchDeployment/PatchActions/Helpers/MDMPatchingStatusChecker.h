// Checks whether the server patches the OS through MDM.
#pragma once

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

/// Reads the agent's patch data file on every call. An unreadable status counts as disabled. Not
/// thread-safe.
class MDMPatchingStatusChecker {
 public:
  /// `plistManager`, for the patch data file, must outlive this object.
  explicit MDMPatchingStatusChecker(PlistManager& plistManager) : plistManager_(plistManager) {}
  [[nodiscard]] bool isEnabled();

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
