// Downloads and installs a macOS software update on Apple silicon.
#pragma once
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {

/// An installation with the stored credentials; `applyLater` without them.
class SiliconSoftwareUpdateInstaller : private SoftwareUpdateInstallation {
 public:
  using SoftwareUpdateInstallation::SoftwareUpdateInstallation;

  /// Runs the installation to its end, which can take hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

}  // namespace vexlo
