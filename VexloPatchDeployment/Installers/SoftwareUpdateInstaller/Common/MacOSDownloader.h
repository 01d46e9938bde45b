// Downloads one macOS update with Apple's software update tool.
#pragma once
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

/// The operation, independent of the tool that performs it.
class MacOSDownloader {
 public:
  virtual ~MacOSDownloader() = default;
  /// Downloads the update and waits for the tool to exit, at most two hours. With `asUser` the tool
  /// runs in the login context of `userSessionProvider`'s console user.
  virtual PatchActionResult download(bool asUser, UserSessionProvider& userSessionProvider) = 0;
};

/// One download. Unexplained failures result in `applyLater`.
class DefaultMacOSDownloader final : public MacOSDownloader, public SoftwareUpdateCommand {
 public:
  using SoftwareUpdateCommand::SoftwareUpdateCommand;
  PatchActionResult download(bool asUser, UserSessionProvider& userSessionProvider) override;
};

}  // namespace vexlo
