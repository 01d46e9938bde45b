#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/SiliconUpgradeInstaller.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

namespace vexlo {
namespace {

constexpr LogTag kSiliconUpgradeInstallerTag{"installMacOS()"};
constexpr LogTag kUsingTag{"installMacOS(using:)"};

}  // namespace

SiliconUpgradeInstaller::SiliconUpgradeInstaller(std::string appPath,
                                                 UpgradeInstallerDependencies& dependencies)
    : appPath_(std::move(appPath)), dependencies_(dependencies) {}

PatchActionResult SiliconUpgradeInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kSiliconUpgradeInstallerTag, [&] {
    return text("Starting installation of ", appPath_,
                ", silicon. Machine locale language: ", optionalText(language), ".");
  });
  CredentialsFetcher* const fetcher = dependencies_.userCredentials();
  const std::optional<Credentials> credentials =
      fetcher != nullptr ? fetcher->credentials() : std::nullopt;
  if (!credentials) {
    return PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  }
  return installMacOS(*credentials);
}

PatchActionResult SiliconUpgradeInstaller::installMacOS(const Credentials& credentials) {
  return startOSInstall(appPath_, &credentials, dependencies_, kUsingTag);
}

}  // namespace vexlo
