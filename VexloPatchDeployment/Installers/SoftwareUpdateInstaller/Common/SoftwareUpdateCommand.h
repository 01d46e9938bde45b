// The command lines of Apple's software update tool, with the account that it runs under.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateAuthContext.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// What the tool is to do with an update.
struct SoftwareUpdateOperation {
  std::string_view option;   ///< «--download»
  std::string_view details;  ///< The options behind the label: «--force --verbose».
};

/// The line that runs `operation` for the update with `label`: in the login context of the console
/// user with `asUser`, else as the agent's own user. Texts from outside reach the tool as they are,
/// whatever they hold. The password is not part of the line.
[[nodiscard]] std::string softwareUpdateCommandLine(const SoftwareUpdateOperation& operation,
                                                    std::string_view label,
                                                    const SoftwareUpdateAuthContext& authContext,
                                                    bool asUser,
                                                    UserSessionProvider& userSessionProvider);

/// Runs the line and gives it the password of `authContext`, if there is one: as standard input;
/// up to macOS 12, whose tool can't read it there, as a last argument. Copies of the password that
/// this makes are wiped.
[[nodiscard]] CommandResult runSoftwareUpdate(const std::string& commandLine,
                                              const SoftwareUpdateAuthContext& authContext,
                                              std::int64_t macOSMajorVersion,
                                              CommandExecutor& executor);

}  // namespace vexlo
