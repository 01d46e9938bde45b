#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"

namespace vexlo {
namespace {

constexpr LogTag kTag{"download(asUser:userSessionProvider:)"};
constexpr LogTag kDownloadEvaluationTag{"evaluate(using:_:)"};
constexpr SoftwareUpdateOperation kDownloadOperation{.option = "--download",
                                                     .details = "--force --verbose"};

}  // namespace

DefaultMacOSDownloader::DefaultMacOSDownloader(std::string label,
                                               SoftwareUpdateAuthContext softwareUpdateAuthContext,
                                               CommandExecutor& executor,
                                               SoftwareUpdateOutputAnalyser& outputValidator,
                                               std::int64_t macOSMajorVersion)
    : label_(std::move(label)),
      softwareUpdateAuthContext_(std::move(softwareUpdateAuthContext)),
      executor_(executor),
      outputValidator_(outputValidator),
      macOSMajorVersion_(macOSMajorVersion) {}

PatchActionResult DefaultMacOSDownloader::download(bool asUser,
                                                   UserSessionProvider& userSessionProvider) {
  const std::string line = softwareUpdateCommandLine(
      kDownloadOperation, label_, softwareUpdateAuthContext_, asUser, userSessionProvider);
  logInfo(kTag,
          [&] { return text("Downloading macOS update ", label_, " using command: ", line, "."); });
  const CommandResult run =
      runSoftwareUpdate(line, softwareUpdateAuthContext_, macOSMajorVersion_, executor_);
  logInfo(kTag, [&] {
    return text("Download status: ", run.exitCode, ", command output: ", run.output, ".");
  });
  return evaluate(run);
}

PatchActionResult DefaultMacOSDownloader::evaluate(const CommandResult& run) {
  const std::optional<PatchActionResult> known = outputValidator_.validate(run.output);
  if (known && *known != PatchActionResult::failure()) {
    logInfo(kDownloadEvaluationTag,
            [&] { return text("Default checking result: ", describe(*known), "."); });
    return *known;
  }
  if (!known && run.exitCode == 0) {
    logInfo(kDownloadEvaluationTag,
            [&] { return text("macOS ", label_, " download completed successfully."); });
    return PatchActionResult::success();
  }
  logError(kDownloadEvaluationTag,
           [&] { return text("macOS ", label_, " download failed, Marked as failure."); });
  return PatchActionResult::applyLater(PlainReason::macOSSoftwareUpdateDownloadFailed);
}

}  // namespace vexlo
