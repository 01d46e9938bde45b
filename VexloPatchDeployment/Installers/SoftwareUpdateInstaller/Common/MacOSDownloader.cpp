#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"

namespace vexlo {
namespace {

constexpr SoftwareUpdateOperation kDownloadOperation{
    .step = ToolRunMeasurement::Step::download,
    .runPlace = LogTag{"download(asUser:userSessionProvider:)"},
    .evaluationPlace = LogTag{"evaluate(using:_:)"},
    .option = "--download",
    .details = "--force --verbose",
    .doing = "Downloading",
    .statusOf = "Download",
    .noun = "download",
    .logsKnownResult = true,
    .failure = PatchActionResult::Outcome::applyLater,
    .reason = PlainReason::macOSSoftwareUpdateDownloadFailed,
};

}  // namespace

PatchActionResult DefaultMacOSDownloader::download(bool asUser,
                                                   UserSessionProvider& userSessionProvider) {
  return run(kDownloadOperation, asUser, userSessionProvider);
}

}  // namespace vexlo
