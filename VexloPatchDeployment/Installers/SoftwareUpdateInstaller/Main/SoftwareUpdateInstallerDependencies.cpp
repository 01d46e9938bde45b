#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateInstallerDependenciesTag{"init(silicon:)"};

}  // namespace

std::unique_ptr<SoftwareUpdateInstallerDependencies>
DefaultSoftwareUpdateInstallerDependencies::silicon() {
  auto credentials = agentServiceCredentialsOrError(kSoftwareUpdateInstallerDependenciesTag);
  return credentials
             ? std::make_unique<DefaultSoftwareUpdateInstallerDependencies>(std::move(credentials))
             : nullptr;
}

}  // namespace vexlo
