// Downloads one macOS update with Apple's software update tool.
#pragma once
#include <cstdint>
#include <string>
#include <utility>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Adapters/SystemEnvironment.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

class MacOSDownloader {
 public:
  virtual ~MacOSDownloader() = default;
  /// Downloads the update and waits for the tool's end, at most two hours. With `asUser` the tool
  /// runs in the login context of the user that `userSessionProvider` names as the console's.
  virtual PatchActionResult download(bool asUser, UserSessionProvider& userSessionProvider) = 0;
};

/// One download. A failure that the tool's output doesn't explain is to be tried again later. The
/// password is never logged and is wiped from memory with the object.
class DefaultMacOSDownloader final : public MacOSDownloader, public SystemEnvironment {
 public:
  /// `label` is the update's label. The executor and the validator are borrowed and outlive
  /// this object. Up to `macOSMajorVersion` 12 the tool can take a password only as an argument;
  /// later ones are given it as standard input.
  DefaultMacOSDownloader(std::string label, SoftwareUpdateAuthContext softwareUpdateAuthContext,
                         CommandExecutor& executor, SoftwareUpdateOutputAnalyser& outputValidator,
                         std::int64_t macOSMajorVersion)
      : command_(std::move(label), std::move(softwareUpdateAuthContext), executor, outputValidator,
                 macOSMajorVersion) {}

  PatchActionResult download(bool asUser, UserSessionProvider& userSessionProvider) override;
  [[nodiscard]] std::int64_t macOSMajorVersion() const override {
    return command_.macOSMajorVersion();
  }

 private:
  SoftwareUpdateCommand command_;
};

}  // namespace vexlo
