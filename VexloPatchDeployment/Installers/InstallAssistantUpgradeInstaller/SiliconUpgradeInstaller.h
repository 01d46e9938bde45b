// Upgrades macOS on Apple silicon with an InstallAssistant application.
#pragma once
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"

namespace vexlo {

/// An upgrade with the stored credentials; `applyLater` without them.
class SiliconUpgradeInstaller : private StartOSInstall {
 public:
  using StartOSInstall::StartOSInstall;

  /// Waits for the tool to exit, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

}  // namespace vexlo
