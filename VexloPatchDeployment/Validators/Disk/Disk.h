// Answers whether the start-up volume has enough free space.
#pragma once
#include <cstdint>
#include <memory>

#include "VexloPatchDeployment/Validators/Disk/DiskInfoProvider.h"

namespace vexlo {

/// Compares the free space with a required minimum; space that can't be learnt counts as
/// sufficient, so that deployment goes on. Stateless. Used from one thread at a time.
class DiskSpaceChecker {
 public:
  /// `diskInfoProvider` is shared with the caller and never null.
  explicit DiskSpaceChecker(std::shared_ptr<DiskInfoProvider> diskInfoProvider);
  /// Whether at least `requiredBytes` are free; equal is enough.
  [[nodiscard]] bool hasMinimumFreeSpace(std::int64_t requiredBytes);

 private:
  std::shared_ptr<DiskInfoProvider> diskInfoProvider_;
};

}  // namespace vexlo
