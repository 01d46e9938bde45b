#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetailsProvider.h"

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kRunningAppDetailsProviderTag{"appDetails(for:)"};

}  // namespace

std::optional<RunningAppDetails> RunningAppDetailsProvider::appDetails(
    const std::string& bundleID) {
  for (const RunningApplication& application : applicationQuery_.runningApplications(bundleID)) {
    if (!application.executableURL) {
      continue;
    }
    RunningAppDetails details{.appName = application.localizedName.value_or(bundleID),
                              .executablePath = *application.executableURL};
    logInfo(kRunningAppDetailsProviderTag, [&] {
      return text("App name: ", details.appName, ", executable path: ", details.executablePath,
                  " for bundleID: ", bundleID, ".");
    });
    return details;
  }
  logError(kRunningAppDetailsProviderTag, [&] {
    return text("Unable to obtain app name or executable path for bundleID: ", bundleID, ".");
  });
  return std::nullopt;
}

}  // namespace vexlo
