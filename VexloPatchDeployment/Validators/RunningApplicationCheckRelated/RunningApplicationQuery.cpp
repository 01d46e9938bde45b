#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

#include <chrono>
#include <system_error>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kRunningApplicationQueryTag{"runningApplications(withBundleIdentifier:)"};
constexpr int kTries = 5;
constexpr std::chrono::milliseconds kPauseBetweenTries{500};

}  // namespace

std::vector<RunningApplication> SystemRunningApplicationQuery::runningApplications(
    const std::string& bundleIdentifier) {
  std::error_code failure;
  auto applications = platform::runningApplications(bundleIdentifier, &failure);
  for (int tries = 1; failure && tries < kTries; ++tries) {
    sleeper_(kPauseBetweenTries);
    applications = platform::runningApplications(bundleIdentifier, &failure);
  }
  if (failure) {
    logError(kRunningApplicationQueryTag, [&] {
      return text("Unable to learn whether applications are running for bundleID: ",
                  bundleIdentifier, ": ", failure.message(), ".");
    });
  }
  return applications;
}

}  // namespace vexlo
