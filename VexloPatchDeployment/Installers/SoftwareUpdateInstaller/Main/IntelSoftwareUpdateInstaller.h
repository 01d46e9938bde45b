// Downloads and installs a macOS software update on Intel machines.
#pragma once
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {

/// An installation without credentials.
class IntelSoftwareUpdateInstaller : private SoftwareUpdateInstallation {
 public:
  using SoftwareUpdateInstallation::SoftwareUpdateInstallation;

  /// Runs the installation to its end, which can take hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

}  // namespace vexlo
