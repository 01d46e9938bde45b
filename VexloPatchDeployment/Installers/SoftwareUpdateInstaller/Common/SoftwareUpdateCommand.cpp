#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"

#include <optional>

#include "Platform/Memory.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/ShellQuoting.h"
#include "VexloPatchDeployment/Installers/ToolRun.h"

namespace vexlo {
namespace {

constexpr std::int64_t kLastVersionWithPasswordArgument = 12;

/// Empty if there is no such account; the command then fails.
std::string consoleUserID(UserSessionProvider& users) {
  const auto userID = users.userID(users.currentConsoleUserName());
  return userID ? text(*userID) : "";
}

}  // namespace

PatchActionResult SoftwareUpdateCommand::run(const SoftwareUpdateOperation& operation, bool asUser,
                                             UserSessionProvider& userSessionProvider) {
  const std::string line = buildCommand(operation, asUser, userSessionProvider);
  logInfo(operation.runPlace, [&] {
    return text(operation.doing, " macOS update ", label_, " using command: ", line, ".");
  });
  const CommandResult result = runLine(line);
  measured([&] { return toolRun(operation.step, label_, result); });
  logInfo(operation.runPlace, [&] {
    return text(operation.statusOf, " status: ", result.exitCode,
                ", command output: ", result.output, ".");
  });
  return evaluate(result, operation);
}

std::string SoftwareUpdateCommand::buildCommand(const SoftwareUpdateOperation& operation,
                                                bool asUser,
                                                UserSessionProvider& userSessionProvider) const {
  std::string line;
  if (asUser) {
    line = text("launchctl asuser ", consoleUserID(userSessionProvider), " sudo ");
  }
  line += text("/usr/sbin/softwareupdate --include-config-data ", operation.option, " \"",
               insideDoubleQuotes(label_), "\" ", operation.details,
               userOptions(authContext_.credentials));
  return line;
}

CommandResult SoftwareUpdateCommand::runLine(const std::string& line) {
  const std::optional<Credentials>& credentials = authContext_.credentials;
  if (!credentials || macOSMajorVersion_ > kLastVersionWithPasswordArgument) {
    return runWithPassword(line, credentials, executor_);
  }
  std::string password = insideDoubleQuotes(credentials->password);
  const platform::WipeAtEnd wipePassword(password);
  std::string whole;
  const platform::WipeAtEnd wipeWhole(whole);
  whole.reserve(line.size() + password.size() + 3);  // never reallocated, so no copy is left behind
  whole.append(line).append(" \"").append(password).append("\"");
  return executor_.run(whole, kShell, std::nullopt);
}

PatchActionResult SoftwareUpdateCommand::evaluate(const CommandResult& result,
                                                  const SoftwareUpdateOperation& operation) {
  const LogPlace& place = operation.evaluationPlace;
  const std::optional<PatchActionResult> known = outputValidator_.validate(result.output);
  if (known && *known != PatchActionResult::failure()) {
    if (operation.logsKnownResult) {
      logInfo(place, [&] { return text("Default checking result: ", describe(*known), "."); });
    }
    return *known;
  }
  if (!known && result.exitCode == 0) {
    logInfo(place, [&] {
      return text("macOS ", label_, " ", operation.noun, " completed successfully.");
    });
    return PatchActionResult::success();
  }
  logError(place, [&] {
    return text("macOS ", label_, " ", operation.noun, " failed, Marked as failure.");
  });
  return {.outcome = operation.failure, .description = operation.reason};
}

}  // namespace vexlo
