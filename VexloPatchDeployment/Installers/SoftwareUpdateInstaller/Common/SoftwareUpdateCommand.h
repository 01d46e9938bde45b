// Downloads and installs one macOS update with Apple's software update tool.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Adapters/SystemEnvironment.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Helpers/Silicon/CredentialsFetcher.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

class MacOSDownloader {
 public:
  virtual ~MacOSDownloader() = default;
  /// Downloads the update and waits for the tool to exit, at most two hours. With `asUser` the tool
  /// runs in the login context of `userSessionProvider`'s console user.
  virtual PatchActionResult download(bool asUser, UserSessionProvider& userSessionProvider) = 0;
};

class MacOSInstaller {
 public:
  virtual ~MacOSInstaller() = default;
  /// Installs the update; like `MacOSDownloader::download`.
  virtual PatchActionResult install(bool asUser, UserSessionProvider& userSessionProvider) = 0;
};

/// How the tool is authorised: `silicon` with credentials or `intel` without.
struct SoftwareUpdateAuthContext {
  std::optional<Credentials> credentials;

  [[nodiscard]] static SoftwareUpdateAuthContext silicon(Credentials account) {
    return {std::move(account)};
  }
  [[nodiscard]] static SoftwareUpdateAuthContext intel() { return {std::nullopt}; }
};

/// The tool's options and the words for log lines.
struct SoftwareUpdateOperation {
  ToolRunMeasurement::Step step;
  LogPlace runPlace;
  LogPlace evaluationPlace;
  std::string_view option;             ///< «--download»
  std::string_view details;            ///< The options after the label: «--force --verbose».
  std::string_view doing;              ///< «Downloading»
  std::string_view statusOf;           ///< «Download»
  std::string_view noun;               ///< «download»
  bool logsKnownResult;                ///< Whether results found in the output are logged.
  PatchActionResult::Outcome failure;  ///< The result of failures that the output doesn't explain.
  PlainReason reason;
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
  /// user.
  [[nodiscard]] PatchActionResult run(const SoftwareUpdateOperation& operation, bool asUser,
                                      UserSessionProvider& userSessionProvider);

 private:
  /// Without the password. Untrusted strings are escaped and reach the tool unchanged.
  [[nodiscard]] std::string buildCommand(const SoftwareUpdateOperation& operation, bool asUser,
                                         UserSessionProvider& userSessionProvider) const;
  /// Passes the password, if any, as standard input, or as the last argument up to macOS 12. Wipes
  /// its copies of the password.
  [[nodiscard]] CommandResult runLine(const std::string& line);
  [[nodiscard]] PatchActionResult evaluate(const CommandResult& result,
                                           const SoftwareUpdateOperation& operation);

  std::string label_;
  SoftwareUpdateAuthContext authContext_;
  CommandExecutor& executor_;
  SoftwareUpdateOutputAnalyser& outputValidator_;
  std::int64_t macOSMajorVersion_;
};

/// One download.
class DefaultMacOSDownloader final : public MacOSDownloader, public SoftwareUpdateCommand {
 public:
  using SoftwareUpdateCommand::SoftwareUpdateCommand;
  PatchActionResult download(bool asUser, UserSessionProvider& userSessionProvider) override;
};

/// One installation, after which the tool restarts the machine.
class DefaultMacOSInstaller final : public MacOSInstaller, public SoftwareUpdateCommand {
 public:
  using SoftwareUpdateCommand::SoftwareUpdateCommand;
  PatchActionResult install(bool asUser, UserSessionProvider& userSessionProvider) override;
};

}  // namespace vexlo
