#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kUpgradeInstallerDependenciesTag{"init(silicon:)"};

}  // namespace

std::unique_ptr<UpgradeInstallerDependencies> DefaultUpgradeInstallerDependencies::silicon() {
  auto credentials = agentServiceCredentialsOrError(kUpgradeInstallerDependenciesTag);
  return credentials ? std::make_unique<DefaultUpgradeInstallerDependencies>(std::move(credentials))
                     : nullptr;
}

}  // namespace vexlo
