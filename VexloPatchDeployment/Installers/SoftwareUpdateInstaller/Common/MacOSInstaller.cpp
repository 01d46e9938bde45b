#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSInstaller.h"

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr SoftwareUpdateOperation kInstallOperation{
    .step = ToolRunMeasurement::Step::installation,
    .runTag = LogTag{"install(asUser:userSessionProvider:)"},
    .evaluationTag = LogTag{"evaluate(using:_:)"},
    .option = "--install",
    .details = "--force --verbose --restart",
    .doing = "Installing",
    .statusOf = "Installation",
    .noun = "installation",
    .logsKnownResult = false,
};

}  // namespace

PatchActionResult DefaultMacOSInstaller::install(bool asUser,
                                                 UserSessionProvider& userSessionProvider) {
  return run(kInstallOperation,
             PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed), asUser,
             userSessionProvider);
}

}  // namespace vexlo
