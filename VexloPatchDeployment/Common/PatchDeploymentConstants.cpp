#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"

#include <optional>

#include "AgentLibraries/vxutils/SystemUtil.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"

namespace vexlo {
namespace {

constexpr LogTag kPatchDeploymentConstantsTag{"macOSMajorVersion"};
constexpr std::int64_t kDefaultMajorVersion = 12;

}  // namespace

std::int64_t macOSMajorVersionFrom(std::string_view majorOSVersion) {
  const std::optional<std::int64_t> version = parseInteger(majorOSVersion);
  if (!version) {
    logError(kPatchDeploymentConstantsTag,
             [] { return "Unable to get macOS major version, using 12 as default"; });
  }
  return version.value_or(kDefaultMajorVersion);
}

std::int64_t PatchDeploymentConstants::macOSMajorVersion() {
  static const std::int64_t version =
      macOSMajorVersionFrom(vxutils::SystemUtil::macOSInfo().majorOSVersion);
  return version;
}

}  // namespace vexlo
