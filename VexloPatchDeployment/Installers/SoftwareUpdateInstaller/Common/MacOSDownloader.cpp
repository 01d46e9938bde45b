#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr SoftwareUpdateOperation kDownloadOperation{
    .step = ToolRunMeasurement::Step::download,
    .runTag = LogTag{"download(asUser:userSessionProvider:)"},
    .evaluationTag = LogTag{"evaluate(using:_:)"},
    .option = "--download",
    .details = "--force --verbose",
    .doing = "Downloading",
    .statusOf = "Download",
    .noun = "download",
    .logsKnownResult = true,
};

}  // namespace

PatchActionResult DefaultMacOSDownloader::download(bool asUser,
                                                   UserSessionProvider& userSessionProvider) {
  return run(kDownloadOperation,
             PatchActionResult::applyLater(PlainReason::macOSSoftwareUpdateDownloadFailed), asUser,
             userSessionProvider);
}

}  // namespace vexlo
