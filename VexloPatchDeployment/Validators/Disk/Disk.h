// Checks whether the startup volume has enough free space.
#pragma once
#include <cstdint>

#include "VexloPatchDeployment/Validators/Disk/DiskInfoProvider.h"

namespace vexlo {

/// Compares the free space with a required minimum. Unknown free space counts as sufficient, so
/// that deployment continues. Not thread-safe.
class DiskSpaceChecker {
 public:
  /// `diskInfoProvider` must outlive this object.
  explicit DiskSpaceChecker(DiskInfoProvider& diskInfoProvider)
      : diskInfoProvider_(diskInfoProvider) {}
  /// Whether at least `requiredBytes` are free.
  [[nodiscard]] bool hasMinimumFreeSpace(std::int64_t requiredBytes);

 private:
  DiskInfoProvider& diskInfoProvider_;
};

}  // namespace vexlo
