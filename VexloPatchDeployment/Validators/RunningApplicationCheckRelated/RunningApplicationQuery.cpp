#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

#include <utility>

#include "Platform/RunningApplications.h"

namespace vexlo {

std::vector<std::unique_ptr<RunningApplication>> SystemRunningApplicationQuery::runningApplications(
    const std::string& bundleIdentifier) {
  std::vector<std::unique_ptr<RunningApplication>> applications;
  for (auto& process : platform::runningApplications(bundleIdentifier)) {
    applications.push_back(std::make_unique<SystemRunningApplication>(std::move(process)));
  }
  return applications;
}

}  // namespace vexlo
