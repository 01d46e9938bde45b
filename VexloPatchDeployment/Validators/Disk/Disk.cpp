#include "VexloPatchDeployment/Validators/Disk/Disk.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"

namespace vexlo {
namespace {

constexpr LogTag kDiskTag{"hasMinimumFreeSpace(of:)"};

}  // namespace

DiskSpaceChecker::DiskSpaceChecker(DiskInfoProvider& diskInfoProvider)
    : diskInfoProvider_(diskInfoProvider) {}

bool DiskSpaceChecker::hasMinimumFreeSpace(std::int64_t requiredBytes) {
  const std::optional<std::int64_t> available = diskInfoProvider_.availableDiskSpace();
  measured(
      [&] { return DiskSpaceMeasurement{.freeBytes = available, .neededBytes = requiredBytes}; });
  if (!available) {
    logInfo(kDiskTag,
            [] { return "Unable to retrieve free disk space, considering as sufficient"; });
    return true;
  }
  const bool sufficient = *available >= requiredBytes;
  logInfo(kDiskTag, [&] {
    return text("Required free disk space: ", requiredBytes, ", available free space: ", *available,
                ", is free space available: ", sufficient);
  });
  return sufficient;
}

}  // namespace vexlo
