#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSInstaller.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"

namespace vexlo {
namespace {

constexpr LogTag kTag{"install(asUser:userSessionProvider:)"};
constexpr LogTag kInstallEvaluationTag{"evaluate(using:_:)"};
constexpr SoftwareUpdateOperation kInstallOperation{.option = "--install",
                                                    .details = "--force --verbose --restart"};

}  // namespace

DefaultMacOSInstaller::DefaultMacOSInstaller(std::string label,
                                             SoftwareUpdateAuthContext softwareUpdateAuthContext,
                                             CommandExecutor& executor,
                                             SoftwareUpdateOutputAnalyser& outputValidator,
                                             std::int64_t macOSMajorVersion)
    : label_(std::move(label)),
      softwareUpdateAuthContext_(std::move(softwareUpdateAuthContext)),
      executor_(executor),
      outputValidator_(outputValidator),
      macOSMajorVersion_(macOSMajorVersion) {}

PatchActionResult DefaultMacOSInstaller::install(bool asUser,
                                                 UserSessionProvider& userSessionProvider) {
  const std::string line = softwareUpdateCommandLine(
      kInstallOperation, label_, softwareUpdateAuthContext_, asUser, userSessionProvider);
  logInfo(kTag,
          [&] { return text("Installing macOS update ", label_, " using command: ", line, "."); });
  const CommandResult run =
      runSoftwareUpdate(line, softwareUpdateAuthContext_, macOSMajorVersion_, executor_);
  logInfo(kTag, [&] {
    return text("Installation status: ", run.exitCode, ", command output: ", run.output, ".");
  });
  return evaluate(run);
}

PatchActionResult DefaultMacOSInstaller::evaluate(const CommandResult& run) {
  const std::optional<PatchActionResult> known = outputValidator_.validate(run.output);
  if (known && *known != PatchActionResult::failure()) {
    return *known;
  }
  if (!known && run.exitCode == 0) {
    logInfo(kInstallEvaluationTag,
            [&] { return text("macOS ", label_, " installation completed successfully."); });
    return PatchActionResult::success();
  }
  logError(kInstallEvaluationTag,
           [&] { return text("macOS ", label_, " installation failed, Marked as failure."); });
  return PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed);
}

}  // namespace vexlo
