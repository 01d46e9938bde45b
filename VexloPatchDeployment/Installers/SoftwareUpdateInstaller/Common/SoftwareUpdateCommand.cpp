#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"

#include <optional>

#include "AgentLibraries/vxutils/SystemUtil.h"
#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"

namespace vexlo {
namespace {

constexpr std::int64_t kLastVersionWithPasswordArgument = 12;

/// Empty for a name without an account; the tool's run then reports the failure.
std::string userIDText(const std::string& userName) {
  const auto userID = vxutils::SystemUtil::shared().uidForUserAccount(userName);
  return userID ? text(*userID) : "";
}

}  // namespace

std::string softwareUpdateCommandLine(const SoftwareUpdateOperation& operation,
                                      std::string_view label,
                                      const SoftwareUpdateAuthContext& authContext, bool asUser,
                                      UserSessionProvider& userSessionProvider) {
  std::string line;
  if (asUser) {
    line = text("launchctl asuser ", userIDText(userSessionProvider.currentConsoleUserName()),
                " sudo ");
  }
  line += text("/usr/sbin/softwareupdate --include-config-data ", operation.option, " \"",
               insideDoubleQuotes(label), "\" ", operation.details);
  if (const Credentials* const credentials = authContext.credentials()) {
    line += text(" --user \"", insideDoubleQuotes(credentials->userName), "\" --stdinpass");
  }
  return line;
}

CommandResult runSoftwareUpdate(const std::string& commandLine,
                                const SoftwareUpdateAuthContext& authContext,
                                std::int64_t macOSMajorVersion, CommandExecutor& executor) {
  const Credentials* const credentials = authContext.credentials();
  if (credentials == nullptr) {
    return executor.run(commandLine, kShell, std::nullopt);
  }
  if (macOSMajorVersion > kLastVersionWithPasswordArgument) {
    std::optional<std::string> password = credentials->password;
    const platform::WipeAtEnd wipePassword(*password);
    return executor.run(commandLine, kShell, password);
  }
  std::string password = insideDoubleQuotes(credentials->password);
  const platform::WipeAtEnd wipePassword(password);
  std::string line;
  const platform::WipeAtEnd wipeLine(line);
  line.reserve(commandLine.size() + password.size() + 3);  // never moved: leaves no copy behind
  line.append(commandLine).append(" \"").append(password).append("\"");
  return executor.run(line, kShell, std::nullopt);
}

}  // namespace vexlo
