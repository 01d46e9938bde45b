// Upgrades macOS on Intel machines with an InstallAssistant application.
#pragma once
#include <string>

#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

namespace vexlo {

/// One run of the application's own tool; its exit status decides. Made for one run.
class IntelUpgradeInstaller {
 public:
  /// `appPath` is the application's bundle. `dependencies` must outlive this object.
  IntelUpgradeInstaller(std::string appPath, UpgradeInstallerDependencies& dependencies);

  /// Waits for the tool's end, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();

 private:
  std::string appPath_;
  UpgradeInstallerDependencies& dependencies_;
};

}  // namespace vexlo
