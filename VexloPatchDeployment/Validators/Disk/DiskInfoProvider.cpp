#include "VexloPatchDeployment/Validators/Disk/DiskInfoProvider.h"

#include "Platform/Volume.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kDiskInfoProviderTag{"availableDiskSpace()"};

}  // namespace

std::optional<std::int64_t> SystemDiskInfo::availableDiskSpace() {
  const auto capacity = platform::availableCapacity("/");
  if (!capacity) {
    logError(kDiskInfoProviderTag, [&] {
      return text("Unable to obtain disk free space. Error: ", capacity.error(), ".");
    });
    return std::nullopt;
  }
  if (!*capacity) {
    logError(kDiskInfoProviderTag, [] {
      return "Unable to obtain disk free space. Volume available capacity key not found.";
    });
    return std::nullopt;
  }
  logInfo(kDiskInfoProviderTag,
          [&] { return text("Available free disk space: ", **capacity, "bytes"); });
  return *capacity;
}

}  // namespace vexlo
