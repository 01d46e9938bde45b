#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/IntelUpgradeInstaller.h"

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelUpgradeInstallerTag{"installMacOS()"};

}  // namespace

PatchActionResult IntelUpgradeInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies().preferredLanguage();
  logInfo(kIntelUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath(),
                ", intel. Machine locale language: ", optionalText(language), ".");
  });
  return run(nullptr, kIntelUpgradeInstallerTag);
}

}  // namespace vexlo
