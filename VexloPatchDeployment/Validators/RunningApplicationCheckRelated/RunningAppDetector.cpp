#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"

#include <span>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kRunningAppDetectorTag{"isAnyAppRunning(for:)"};

using Applications = std::vector<std::unique_ptr<RunningApplication>>;

/// `[Safari (PID 501), Safari (PID 733)]`; shows the identifier if an application has no name.
std::string describe(const Applications& applications, const std::string& bundleID) {
  std::string out = "[";
  for (std::string_view separator; const auto& application : applications) {
    out += text(separator, application->localizedName().value_or(bundleID), " (PID ",
                application->processIdentifier(), ')');
    separator = ", ";
  }
  return out += ']';
}

/// One entry for each identifier of which an application runs, named after the first instance.
RunningApplicationsMeasurement runningOf(std::span<const std::string> bundleIDs,
                                         RunningApplicationQuerying& query) {
  RunningApplicationsMeasurement running;
  for (const std::string& bundleID : bundleIDs) {
    if (const Applications instances = query.runningApplications(bundleID); !instances.empty()) {
      running.applications.push_back(
          {.bundleID = bundleID, .name = instances.front()->localizedName().value_or(bundleID)});
    }
  }
  return running;
}

}  // namespace

RunningAppDetector::RunningAppDetector(RunningApplicationQuerying& applicationQuery)
    : applicationQuery_(applicationQuery) {}

bool RunningAppDetector::isAnyAppRunning(const std::vector<std::string>& bundleIDs) {
  for (const std::string& bundleID : bundleIDs) {
    const Applications applications = applicationQuery_.runningApplications(bundleID);
    if (!applications.empty()) {
      logInfo(kRunningAppDetectorTag, [&] {
        return text("Apps are running for bundleID: ", bundleID,
                    "::", describe(applications, bundleID), ".");
      });
      measured([&] { return runningOf(bundleIDs, applicationQuery_); });
      return true;
    }
    logInfo(kRunningAppDetectorTag,
            [&] { return text("No running Apps detected for the bundleID: ", bundleID, "."); });
  }
  logInfo(kRunningAppDetectorTag, [&] {
    return text("No running Apps detected for the bundleIDs: ", listText(bundleIDs), ".");
  });
  measured([] { return RunningApplicationsMeasurement{}; });
  return false;
}

}  // namespace vexlo
