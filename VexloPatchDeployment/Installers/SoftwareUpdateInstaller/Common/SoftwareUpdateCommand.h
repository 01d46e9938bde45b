// Runs Apple's software update tool for one update and evaluates the result.
#pragma once
#include <cstdint>
#include <source_location>
#include <string>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Adapters/SystemEnvironment.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateAuthContext.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// The tool's options and the words for log lines.
struct SoftwareUpdateOperation {
  ToolRunMeasurement::Step step;
  LogTag runTag;
  LogTag evaluationTag;
  std::string_view option;    ///< «--download»
  std::string_view details;   ///< The options after the label: «--force --verbose».
  std::string_view doing;     ///< «Downloading»
  std::string_view statusOf;  ///< «Download»
  std::string_view noun;      ///< «download»
  bool logsKnownResult;       ///< Whether results found in the output are logged.
};

/// The base of the downloader and the installer: one run of the tool. The password is never logged
/// and is wiped with the object.
class SoftwareUpdateCommand : public SystemEnvironment {
 public:
  /// `label` is the update's label. `executor` and `outputValidator` must outlive this object. Up
  /// to `macOSMajorVersion` 12 the tool takes a password only as an argument, later ones read it
  /// from standard input.
  SoftwareUpdateCommand(std::string label, SoftwareUpdateAuthContext softwareUpdateAuthContext,
                        CommandExecutor& executor, SoftwareUpdateOutputAnalyser& outputValidator,
                        std::int64_t macOSMajorVersion)
      : label_(std::move(label)),
        authContext_(std::move(softwareUpdateAuthContext)),
        executor_(executor),
        outputValidator_(outputValidator),
        macOSMajorVersion_(macOSMajorVersion) {}

  [[nodiscard]] std::int64_t macOSMajorVersion() const final { return macOSMajorVersion_; }

 protected:
  /// Runs the tool: in the login context of the console user with `asUser`, else as the agent's
  /// user. `failed` is the result for failures that the output doesn't explain. Log lines have the
  /// operation's tags and the caller's line.
  [[nodiscard]] PatchActionResult run(const SoftwareUpdateOperation& operation,
                                      PatchActionResult failed, bool asUser,
                                      UserSessionProvider& userSessionProvider,
                                      std::source_location where = std::source_location::current());

 private:
  /// Without the password. Untrusted strings are escaped and reach the tool unchanged.
  [[nodiscard]] std::string commandLine(const SoftwareUpdateOperation& operation, bool asUser,
                                        UserSessionProvider& userSessionProvider) const;
  /// Passes the password, if any, as standard input, or as the last argument up to macOS 12, whose
  /// tool doesn't read it from there. Wipes its copies of the password.
  [[nodiscard]] CommandResult runLine(const std::string& line);
  [[nodiscard]] PatchActionResult evaluate(const CommandResult& result,
                                           const SoftwareUpdateOperation& operation,
                                           PatchActionResult failed, std::source_location where);

  std::string label_;
  SoftwareUpdateAuthContext authContext_;
  CommandExecutor& executor_;
  SoftwareUpdateOutputAnalyser& outputValidator_;
  std::int64_t macOSMajorVersion_;
};

}  // namespace vexlo
