#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"

#include <string>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/vxutils/TerminalUtil.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Validators/DeferCheck/DeferralMeasurements.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateListerTag{"isAppleSoftwareUpdateReachable()"};

}  // namespace

CommandResult SystemSoftwareUpdateLister::fetchSoftwareUpdates() {
  return vxutils::TerminalUtil::defaultInstance().executeTaskForString("/usr/sbin/softwareupdate",
                                                                       {"--list"});
}

bool AppleSoftwareUpdateConnectivityChecker::isAppleSoftwareUpdateReachable() {
  const CommandResult list = softwareUpdateLister_.fetchSoftwareUpdates();
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

std::string UpdateServiceUnreachable::words() const {
  return text("Apple's update service can't be reached, softwareupdate ended with status ",
              exitCode);
}

std::string UpdateServiceUnreachable::json() const {
  return FileCodec::JSONObject().addString("kind", kind).addNumber("exitCode", exitCode).done();
}

}  // namespace vexlo
