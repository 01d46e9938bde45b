#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"

#include <chrono>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kAppKillerTag{"killApps(for:)"};
constexpr std::chrono::seconds kPauseAfterKill{2};

}  // namespace

void AppKiller::killApps(const std::vector<std::string>& bundleIDs) {
  for (const std::string& bundleID : bundleIDs) {
    const auto applications = applicationQuery_.runningApplications(bundleID);
    if (applications.empty()) {
      logInfo(kAppKillerTag,
              [&] { return text("No running applications found with bundleID: ", bundleID, "."); });
    }
    for (const auto& application : applications) {
      const bool accepted = application.forceTerminate();
      logInfo(kAppKillerTag, [&] {
        return text("Attempting to terminate app: ", application.localizedName.value_or("Unknown"),
                    " with PID: ", application.processIdentifier,
                    ", Termination status: ", accepted, ".");
      });
      sleeper_(kPauseAfterKill);
    }
  }
}

}  // namespace vexlo
