#include "Updates.h"

#include <AgentLibraries/LogCore/Logger.h>

namespace {

constexpr LogCore::LogTag kTag{"deploy"};

}  // namespace

std::string deploy(vexlo::PatchActionProcessing& processor) {
  LogCore::logInfo(kTag, [] { return "started"; });
  std::string report;
  for (const vexlo::ActionID action :
       {vexlo::KnownAction::minimumDiskSpaceCheck, vexlo::KnownAction::multipleUserLoggedInCheck}) {
    report += describe(action) + ": " + describe(processor.execute(action)) + "\n";
  }
  return report;
}
