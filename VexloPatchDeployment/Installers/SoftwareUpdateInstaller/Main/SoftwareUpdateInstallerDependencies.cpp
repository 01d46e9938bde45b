#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateInstallerDependenciesTag{"init(silicon:)"};

}  // namespace

std::unique_ptr<SoftwareUpdateInstallerDependencies>
DefaultSoftwareUpdateInstallerDependencies::intel() {
  return std::unique_ptr<SoftwareUpdateInstallerDependencies>(
      new DefaultSoftwareUpdateInstallerDependencies(std::nullopt));
}

std::unique_ptr<SoftwareUpdateInstallerDependencies>
DefaultSoftwareUpdateInstallerDependencies::silicon() {
  std::optional<AgentServiceCredentials> credentials = agentServiceCredentials();
  if (!credentials) {
    logError(kSoftwareUpdateInstallerDependenciesTag, [] {
      return "Failed to establish connection with AgentService. Unable to get user credentials.";
    });
    return nullptr;
  }
  return std::unique_ptr<SoftwareUpdateInstallerDependencies>(
      new DefaultSoftwareUpdateInstallerDependencies(std::move(credentials)));
}

DefaultSoftwareUpdateInstallerDependencies::DefaultSoftwareUpdateInstallerDependencies(
    std::optional<AgentServiceCredentials> agentServiceCredentials)
    : agentServiceCredentials_(std::move(agentServiceCredentials)) {}

CredentialsFetcher* DefaultSoftwareUpdateInstallerDependencies::userCredentials() {
  return agentServiceCredentials_ ? agentServiceCredentials_->fetcher.get() : nullptr;
}

}  // namespace vexlo
