#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateInstallerDependenciesTag{"init(silicon:)"};

}  // namespace

std::unique_ptr<SoftwareUpdateInstallerDependencies>
DefaultSoftwareUpdateInstallerDependencies::intel() {
  return std::unique_ptr<SoftwareUpdateInstallerDependencies>(
      new DefaultSoftwareUpdateInstallerDependencies(nullptr));
}

std::unique_ptr<SoftwareUpdateInstallerDependencies>
DefaultSoftwareUpdateInstallerDependencies::silicon() {
  auto credentials = agentServiceCredentialsOrError(kSoftwareUpdateInstallerDependenciesTag);
  return credentials ? std::unique_ptr<SoftwareUpdateInstallerDependencies>(
                           new DefaultSoftwareUpdateInstallerDependencies(std::move(credentials)))
                     : nullptr;
}

}  // namespace vexlo
