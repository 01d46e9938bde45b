// Runs the upgrade tool of an InstallAssistant application.
#pragma once
#include <source_location>
#include <string>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/UpgradeInstallerDependencies.h"

namespace vexlo {

/// Tells the user that an update is under way, runs the tool of the application at `appPath` and
/// judges by its exit status. The tool gets the name of `credentials`, which are null on Intel, as
/// an argument and the password as standard input; a copy of it that this makes is wiped. The log
/// lines carry the caller's tag and place.
[[nodiscard]] PatchActionResult startOSInstall(
    const std::string& appPath, const Credentials* credentials,
    UpgradeInstallerDependencies& dependencies, const LogTag& tag,
    std::source_location where = std::source_location::current());

}  // namespace vexlo
