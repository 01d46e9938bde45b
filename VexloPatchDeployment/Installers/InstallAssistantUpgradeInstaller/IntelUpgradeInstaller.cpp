#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelUpgradeInstallerTag{"installMacOS()"};

}  // namespace

PatchActionResult IntelUpgradeInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kIntelUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath_,
                ", intel. Machine locale language: ", optionalText(language), ".");
  });
  return run(std::nullopt, kIntelUpgradeInstallerTag);
}

}  // namespace vexlo
