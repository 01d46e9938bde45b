// Upgrades macOS on Apple silicon with an InstallAssistant application.
#pragma once
#include <string>

#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

namespace vexlo {

/// One run of the application's own tool, which is given the stored password as standard input;
/// its exit status decides. Without credentials the upgrade is to be tried later. Made for one run.
class SiliconUpgradeInstaller {
 public:
  /// `appPath` is the application's bundle. `dependencies` must outlive this object.
  SiliconUpgradeInstaller(std::string appPath, UpgradeInstallerDependencies& dependencies);

  /// Waits for the tool's end, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();

 private:
  [[nodiscard]] PatchActionResult installMacOS(const Credentials& credentials);

  std::string appPath_;
  UpgradeInstallerDependencies& dependencies_;
};

}  // namespace vexlo
