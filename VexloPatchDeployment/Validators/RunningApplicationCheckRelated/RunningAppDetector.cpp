#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppDetector.h"

#include <string>
#include <string_view>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppMeasurements.h"

namespace vexlo {
namespace {

constexpr LogTag kRunningAppDetectorTag{"isAnyAppRunning(for:)"};

/// `[Safari (PID 501), Safari (PID 733)]`; shows the identifier if an application has no name.
std::string describe(const std::vector<RunningApplication>& applications,
                     const std::string& bundleID) {
  const auto shown = [&](const RunningApplication& application) {
    return text(application.localizedName.value_or(bundleID), " (PID ",
                application.processIdentifier, ')');
  };
  return '[' + platform::joined(applications, ", ", shown) + ']';
}

}  // namespace

bool RunningAppDetector::isAnyAppRunning(const std::vector<std::string>& bundleIDs) {
  for (const std::string& bundleID : bundleIDs) {
    const std::vector<RunningApplication> applications =
        applicationQuery_.runningApplications(bundleID);
    if (!applications.empty()) {
      logInfo(kRunningAppDetectorTag, [&] {
        return text("Apps are running for bundleID: ", bundleID,
                    "::", describe(applications, bundleID), ".");
      });
      measured([&] {
        return RunningApplicationsMeasurement{
            {{.bundleID = bundleID,
              .name = applications.front().localizedName.value_or(bundleID)}}};
      });
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

std::string RunningApplicationsMeasurement::words() const {
  return (applications.empty() ? "none"
                               : platform::joined(applications, ", ", &Application::name)) +
         " running";
}

std::string RunningApplicationsMeasurement::json() const {
  const auto asJSON = [](const Application& each) {
    return FileCodec::JSONObject()
        .addString("bundleID", each.bundleID)
        .addString("name", each.name)
        .done();
  };
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addJSON("applications", FileCodec::jsonArray(applications, asJSON))
      .done();
}

}  // namespace vexlo
