// Upgrades macOS with the upgrade tool of an InstallAssistant application.
#pragma once
#include <optional>
#include <string>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

namespace vexlo {

/// The base of the upgrade installers for both kinds of machine: one run of the application's tool,
/// whose exit status decides. Made for one run.
class StartOSInstall {
 public:
  /// `appPath` is the application's bundle. `dependencies` must outlive this object.
  StartOSInstall(std::string appPath, UpgradeInstallerDependencies& dependencies)
      : appPath_(std::move(appPath)), dependencies_(dependencies) {}

 protected:
  /// Notifies the user and runs the tool, with the user name of `credentials`, which are absent on
  /// Intel, as an argument and the password as standard input. Wipes its copy of the password.
  [[nodiscard]] PatchActionResult run(const std::optional<Credentials>& credentials,
                                      const LogPlace& place);

  std::string appPath_;
  UpgradeInstallerDependencies& dependencies_;
};

/// An upgrade without credentials.
class IntelUpgradeInstaller : private StartOSInstall {
 public:
  using StartOSInstall::StartOSInstall;
  /// Waits for the tool to exit, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

/// An upgrade with the stored credentials; `applyLater` without them.
class SiliconUpgradeInstaller : private StartOSInstall {
 public:
  using StartOSInstall::StartOSInstall;
  /// Waits for the tool to exit, at most two hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

}  // namespace vexlo
