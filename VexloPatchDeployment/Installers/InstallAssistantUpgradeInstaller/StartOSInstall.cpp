#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

#include <optional>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"
#include "VexloPatchDeployment/Installers/ToolRun.h"

namespace vexlo {
namespace {

std::string commandLine(const std::string& appPath, const Credentials* credentials) {
  std::string line = text("\"", insideDoubleQuotes(appPath), "/Contents/Resources/startosinstall\"",
                          " --agreetolicense --forcequitapps --nointeraction");
  if (credentials != nullptr) {
    line += text(" --user \"", insideDoubleQuotes(credentials->userName), "\" --stdinpass");
  }
  return line;
}

CommandResult runLine(const std::string& line, const Credentials* credentials,
                      CommandExecutor& executor) {
  if (credentials == nullptr) {
    return executor.run(line, kShell, std::nullopt);
  }
  std::optional<std::string> password = credentials->password;
  const platform::WipeAtEnd wipePassword(*password);
  return executor.run(line, kShell, password);
}

}  // namespace

PatchActionResult StartOSInstall::run(const Credentials* credentials, const LogTag& tag,
                                      std::source_location where) {
  dependencies_.notifier().notifyUpdatesInProgress();
  const std::string line = commandLine(appPath_, credentials);
  logInfo(tag, [&] { return text("Installation command: ", line); }, where);
  const CommandResult result = runLine(line, credentials, dependencies_.executor());
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
