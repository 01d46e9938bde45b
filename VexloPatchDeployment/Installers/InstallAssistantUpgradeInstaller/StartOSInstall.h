// Runs the upgrade tool of an InstallAssistant application.
#pragma once
#include <source_location>
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
  /// Notifies the user and runs the tool, with the user name of `credentials`, which are null on
  /// Intel, as an argument and the password as standard input. Wipes its copy of the password. Log
  /// lines have the caller's tag and line.
  [[nodiscard]] PatchActionResult run(const Credentials* credentials, const LogTag& tag,
                                      std::source_location where = std::source_location::current());

  [[nodiscard]] const std::string& appPath() const noexcept { return appPath_; }
  [[nodiscard]] UpgradeInstallerDependencies& dependencies() const noexcept {
    return dependencies_;
  }

 private:
  std::string appPath_;
  UpgradeInstallerDependencies& dependencies_;
};

}  // namespace vexlo
