#include "VexloPatchDeployment/Validators/Disk/Disk.h"

#include <cstdlib>
#include <optional>
#include <string>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Validators/Disk/DiskSpaceMeasurement.h"

namespace vexlo {
namespace {

constexpr LogTag kDiskTag{"hasMinimumFreeSpace(of:)"};

constexpr std::int64_t kBytesPerMegabyte = 1'000'000;
constexpr std::int64_t kBytesPerTenthOfGigabyte = 100'000'000;
constexpr std::int64_t kTenths = 10;

/// «84.1 GB», «90 GB», «50 MB»: truncated, so that too little never looks like enough.
std::string sizeText(std::int64_t bytes) {
  const std::int64_t tenths = bytes / kBytesPerTenthOfGigabyte;
  if (tenths > -kTenths && tenths < kTenths) {
    const std::int64_t megabytes = bytes / kBytesPerMegabyte;
    return megabytes == 0 ? "0 GB" : text(megabytes, " MB");
  }
  const std::int64_t tenth = std::abs(tenths % kTenths);
  return tenth == 0 ? text(tenths / kTenths, " GB") : text(tenths / kTenths, '.', tenth, " GB");
}

}  // namespace

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

std::string DiskSpaceMeasurement::words() const {
  return freeBytes ? text(sizeText(*freeBytes), " free, ", sizeText(neededBytes), " needed")
                   : "free space unknown, counts as sufficient";
}

std::string DiskSpaceMeasurement::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addNumber("freeBytes", freeBytes)
      .addNumber("neededBytes", neededBytes)
      .done();
}

}  // namespace vexlo
