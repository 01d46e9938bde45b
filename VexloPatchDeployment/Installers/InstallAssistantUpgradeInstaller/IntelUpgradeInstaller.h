// Upgrades macOS on Intel machines with an InstallAssistant application.
#pragma once
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

namespace vexlo {

/// An upgrade without credentials.
class IntelUpgradeInstaller : private StartOSInstall {
 public:
  using StartOSInstall::StartOSInstall;

  /// Waits for the tool to exit, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

}  // namespace vexlo
