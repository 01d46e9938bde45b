// Upgrades macOS on Apple silicon with an InstallAssistant application.
#pragma once
#include <memory>
#include <string>

#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

namespace vexlo {

/// One run of the application's own tool, which is given the stored password as standard input;
/// its exit status decides. Without credentials the upgrade is to be tried later. Made for one run.
class SiliconUpgradeInstaller {
 public:
  /// `appPath` is the application's bundle. `dependencies` is never null.
  SiliconUpgradeInstaller(std::string appPath,
                          std::shared_ptr<UpgradeInstallerDependencies> dependencies);

  /// Waits for the tool's end, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();

 private:
  [[nodiscard]] PatchActionResult installMacOS(const Credentials& credentials);

  std::string appPath_;
  std::shared_ptr<UpgradeInstallerDependencies> dependencies_;
};

}  // namespace vexlo
