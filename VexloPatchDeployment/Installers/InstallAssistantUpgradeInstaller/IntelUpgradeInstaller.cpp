#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/IntelUpgradeInstaller.h"

#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelUpgradeInstallerTag{"installMacOS()"};

}  // namespace

IntelUpgradeInstaller::IntelUpgradeInstaller(std::string appPath,
                                             UpgradeInstallerDependencies& dependencies)
    : appPath_(std::move(appPath)), dependencies_(dependencies) {}

PatchActionResult IntelUpgradeInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kIntelUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath_,
                ", intel. Machine locale language: ", optionalText(language), ".");
  });
  return startOSInstall(appPath_, nullptr, dependencies_, kIntelUpgradeInstallerTag);
}

}  // namespace vexlo
