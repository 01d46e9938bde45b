#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetailsProvider.h"

#include <utility>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kRunningAppDetailsProviderTag{"appDetails(for:)"};

}  // namespace

std::optional<RunningAppDetails> RunningAppDetailsProvider::appDetails(
    const std::string& bundleID) {
  for (const auto& application : applicationQuery_.runningApplications(bundleID)) {
    std::optional<std::string> executable = application->executableURL();
    if (!executable) {
      continue;
    }
    RunningAppDetails details{.appName = application->localizedName().value_or(bundleID),
                              .executablePath = *std::move(executable)};
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
