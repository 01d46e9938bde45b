// Runs Apple's software update tool for one update and judges what came of it.
#pragma once
#include <cstdint>
#include <source_location>
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateAuthContext.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// What the tool is to do with an update, and how the log speaks of it.
struct SoftwareUpdateOperation {
  ToolRunMeasurement::Step step;
  LogTag runTag;
  LogTag evaluationTag;
  std::string_view option;    ///< «--download»
  std::string_view details;   ///< The options behind the label: «--force --verbose».
  std::string_view doing;     ///< «Downloading»
  std::string_view statusOf;  ///< «Download»
  std::string_view noun;      ///< «download»
  bool logsKnownResult;       ///< Whether a result that the output explains gets a line.
};

/// One run of the tool. The password is never logged and is wiped from memory with the object.
class SoftwareUpdateCommand {
 public:
  /// The executor and the validator are borrowed and outlive this object.
  SoftwareUpdateCommand(std::string label, SoftwareUpdateAuthContext authContext,
                        CommandExecutor& executor, SoftwareUpdateOutputAnalyser& outputValidator,
                        std::int64_t macOSMajorVersion);

  /// Runs the tool to its end: in the login context of the console user with `asUser`, else as the
  /// agent's own user. `failed` is the result of a run whose output doesn't explain its failure.
  /// The log lines carry the caller's tags and place.
  [[nodiscard]] PatchActionResult run(const SoftwareUpdateOperation& operation,
                                      PatchActionResult failed, bool asUser,
                                      UserSessionProvider& userSessionProvider,
                                      std::source_location where = std::source_location::current());

  [[nodiscard]] std::int64_t macOSMajorVersion() const noexcept { return macOSMajorVersion_; }

 private:
  /// Without the password. Texts from outside reach the tool as they are, whatever they hold.
  [[nodiscard]] std::string commandLine(const SoftwareUpdateOperation& operation, bool asUser,
                                        UserSessionProvider& userSessionProvider) const;
  /// Gives the tool the password, if there is one: as standard input; up to macOS 12, whose tool
  /// can't read it there, as a last argument. Copies of the password that this makes are wiped.
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
