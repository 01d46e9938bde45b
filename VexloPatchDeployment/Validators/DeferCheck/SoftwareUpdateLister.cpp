#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"

#include <utility>

#include "AgentLibraries/vxutils/TerminalUtil.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateListerTag{"isAppleSoftwareUpdateReachable()"};

}  // namespace

SoftwareUpdateList SystemSoftwareUpdateLister::fetchSoftwareUpdates() {
  auto [exitCode, output] = vxutils::TerminalUtil::defaultInstance().executeTaskForString(
      "/usr/sbin/softwareupdate", {"--list"});
  return {.exitCode = exitCode, .output = std::move(output)};
}

AppleSoftwareUpdateConnectivityChecker::AppleSoftwareUpdateConnectivityChecker(
    SoftwareUpdateLister& softwareUpdateLister)
    : softwareUpdateLister_(softwareUpdateLister) {}

bool AppleSoftwareUpdateConnectivityChecker::isAppleSoftwareUpdateReachable() {
  const SoftwareUpdateList list = softwareUpdateLister_.fetchSoftwareUpdates();
  logInfo(kSoftwareUpdateListerTag, [&] {
    return text("Software update output: ", list.output, ", exit code: ", list.exitCode, ".");
  });
  if (list.exitCode != 0 || list.output.contains(kCantConnectToSoftwareUpdate)) {
    logError(kSoftwareUpdateListerTag,
             [] { return "Unable to obtain software update information."; });
    measured([&] { return UpdateServiceUnreachable{list.exitCode}; });
    return false;
  }
  logInfo(kSoftwareUpdateListerTag, [] { return "Apple software update is reachable."; });
  return true;
}

}  // namespace vexlo
