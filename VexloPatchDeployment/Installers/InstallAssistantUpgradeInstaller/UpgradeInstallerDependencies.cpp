#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kUpgradeInstallerDependenciesTag{"init(silicon:)"};

}  // namespace

std::unique_ptr<UpgradeInstallerDependencies> DefaultUpgradeInstallerDependencies::intel() {
  return std::unique_ptr<UpgradeInstallerDependencies>(
      new DefaultUpgradeInstallerDependencies(std::nullopt));
}

std::unique_ptr<UpgradeInstallerDependencies> DefaultUpgradeInstallerDependencies::silicon() {
  std::optional<AgentServiceCredentials> credentials = agentServiceCredentials();
  if (!credentials) {
    logError(kUpgradeInstallerDependenciesTag, [] {
      return "Failed to establish connection with AgentService. Unable to get user credentials.";
    });
    return nullptr;
  }
  return std::unique_ptr<UpgradeInstallerDependencies>(
      new DefaultUpgradeInstallerDependencies(std::move(credentials)));
}

DefaultUpgradeInstallerDependencies::DefaultUpgradeInstallerDependencies(
    std::optional<AgentServiceCredentials> agentServiceCredentials)
    : agentServiceCredentials_(std::move(agentServiceCredentials)) {}

CredentialsFetcher* DefaultUpgradeInstallerDependencies::userCredentials() {
  return agentServiceCredentials_ ? agentServiceCredentials_->fetcher.get() : nullptr;
}

}  // namespace vexlo
