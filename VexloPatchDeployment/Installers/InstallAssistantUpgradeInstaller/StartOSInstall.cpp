#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

#include "VexloPatchDeployment/Common/ShellQuoting.h"
#include "VexloPatchDeployment/Installers/ToolRun.h"

namespace vexlo {

PatchActionResult StartOSInstall::run(const Credentials* credentials, const LogTag& tag,
                                      std::source_location where) {
  dependencies_.notifier().notifyUpdatesInProgress();
  const std::string line =
      text("\"", insideDoubleQuotes(appPath_), "/Contents/Resources/startosinstall\"",
           " --agreetolicense --forcequitapps --nointeraction", userOptions(credentials));
  logInfo(tag, [&] { return text("Installation command: ", line); }, where);
  const CommandResult result = runWithPassword(line, credentials, dependencies_.executor());
  measured([&] { return toolRun(ToolRunMeasurement::Step::upgrade, appPath_, result); });
  logInfo(
      tag,
      [&] {
        return text("Execution result: (exitCode: ", result.exitCode, ", output: \"", result.output,
                    "\", rawOutput: ", result.rawOutput().size(), " bytes)");
      },
      where);
  if (result.exitCode == 0) {
    return PatchActionResult::success();
  }
  logError(tag, [&] { return text("Installation failed for ", appPath_, "."); }, where);
  return PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed);
}

}  // namespace vexlo
