#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

#include "VexloPatchDeployment/Common/ShellQuoting.h"
#include "VexloPatchDeployment/Installers/ToolRun.h"

namespace vexlo {

PatchActionResult StartOSInstall::run(const std::optional<Credentials>& credentials,
                                      const LogPlace& place) {
  dependencies_.notifier().notifyUpdatesInProgress();
  const std::string line =
      text("\"", insideDoubleQuotes(appPath_), "/Contents/Resources/startosinstall\"",
           " --agreetolicense --forcequitapps --nointeraction", userOptions(credentials));
  logInfo(place, [&] { return text("Installation command: ", line); });
  const CommandResult result = runWithPassword(line, credentials, dependencies_.executor());
  measured([&] { return toolRun(ToolRunMeasurement::Step::upgrade, appPath_, result); });
  logInfo(place, [&] {
    return text("Execution result: (exitCode: ", result.exitCode, ", output: \"", result.output,
                "\", rawOutput: ", result.rawOutput().size(), " bytes)");
  });
  if (result.exitCode == 0) {
    return PatchActionResult::success();
  }
  logError(place, [&] { return text("Installation failed for ", appPath_, "."); });
  return PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed);
}

}  // namespace vexlo
