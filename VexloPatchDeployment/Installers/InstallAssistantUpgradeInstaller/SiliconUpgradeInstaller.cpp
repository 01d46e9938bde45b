#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/SiliconUpgradeInstaller.h"

#include <optional>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kSiliconUpgradeInstallerTag{"installMacOS()"};
constexpr LogTag kUsingTag{"installMacOS(using:)"};

}  // namespace

PatchActionResult SiliconUpgradeInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies().preferredLanguage();
  logInfo(kSiliconUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath(),
                ", silicon. Machine locale language: ", optionalText(language), ".");
  });
  const std::optional<Credentials> credentials = storedCredentials(dependencies());
  if (!credentials) {
    return PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  }
  return run(&*credentials, kUsingTag);
}

}  // namespace vexlo
