#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/IntelUpgradeInstaller.h"

#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"
#include "VexloPatchDeployment/Installers/PreferredLanguage.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelUpgradeInstallerTag{"installMacOS()"};

}  // namespace

IntelUpgradeInstaller::IntelUpgradeInstaller(std::string appPath,
                                             UpgradeInstallerDependencies& dependencies)
    : appPath_(std::move(appPath)), dependencies_(dependencies) {}

PatchActionResult IntelUpgradeInstaller::installMacOS() {
  const std::string language = preferredLanguageText();
  logInfo(kIntelUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath_,
                ", intel. Machine locale language: ", language, ".");
  });
  return startOSInstall(appPath_, nullptr, dependencies_, kIntelUpgradeInstallerTag);
}

}  // namespace vexlo
