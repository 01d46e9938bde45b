// Answers whether the start-up volume has enough free space.
#pragma once
#include <cstdint>

#include "VexloPatchDeployment/Validators/Disk/DiskInfoProvider.h"

namespace vexlo {

/// Compares the free space with a required minimum; space that can't be learnt counts as
/// sufficient, so that deployment goes on. Stateless. Used from one thread at a time.
class DiskSpaceChecker {
 public:
  /// `diskInfoProvider` must outlive this object.
  explicit DiskSpaceChecker(DiskInfoProvider& diskInfoProvider);
  /// Whether at least `requiredBytes` are free; equal is enough.
  [[nodiscard]] bool hasMinimumFreeSpace(std::int64_t requiredBytes);

 private:
  DiskInfoProvider& diskInfoProvider_;
};

}  // namespace vexlo
