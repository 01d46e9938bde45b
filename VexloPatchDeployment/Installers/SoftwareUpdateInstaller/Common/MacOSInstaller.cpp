#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"

namespace vexlo {
namespace {

constexpr SoftwareUpdateOperation kInstallOperation{
    .step = ToolRunMeasurement::Step::installation,
    .runPlace = LogTag{"install(asUser:userSessionProvider:)"},
    .evaluationPlace = LogTag{"evaluate(using:_:)"},
    .option = "--install",
    .details = "--force --verbose --restart",
    .doing = "Installing",
    .statusOf = "Installation",
    .noun = "installation",
    .logsKnownResult = false,
    .failure = PatchActionResult::Outcome::failure,
    .reason = PlainReason::macOSSoftwareUpdateInstallationFailed,
};

}  // namespace

PatchActionResult DefaultMacOSInstaller::install(bool asUser,
                                                 UserSessionProvider& userSessionProvider) {
  return run(kInstallOperation, asUser, userSessionProvider);
}

}  // namespace vexlo
