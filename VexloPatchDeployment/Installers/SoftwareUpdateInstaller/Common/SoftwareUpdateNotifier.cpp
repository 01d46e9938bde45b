#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateNotifier.h"

#include <cstdint>

#include "AgentLibraries/vxutils/Notifications.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateNotifierTag{"notifyUpdatesInProgress()"};
constexpr std::int32_t kUpdatesInProgress = 19;

}  // namespace

void DefaultSoftwareUpdateNotifier::notifyUpdatesInProgress() {
  logInfo(kSoftwareUpdateNotifierTag, [] { return "Showing update is in progress notification."; });
  vxutils::putNotification(kUpdatesInProgress, nullptr);
}

}  // namespace vexlo
