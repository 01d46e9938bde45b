#include <optional>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

namespace vexlo {
namespace {

constexpr LogTag kSiliconUpgradeInstallerTag{"installMacOS()"};
constexpr LogTag kUsingTag{"installMacOS(using:)"};

}  // namespace

PatchActionResult SiliconUpgradeInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kSiliconUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath_,
                ", silicon. Machine locale language: ", optionalText(language), ".");
  });
  const std::optional<Credentials> credentials = storedCredentials(dependencies_);
  if (!credentials) {
    return PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  }
  return run(credentials, kUsingTag);
}

}  // namespace vexlo
