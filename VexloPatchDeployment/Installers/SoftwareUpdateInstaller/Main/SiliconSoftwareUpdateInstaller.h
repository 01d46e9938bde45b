// Downloads and installs a macOS software update on Apple silicon.
#pragma once
#include <cstdint>
#include <string>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

namespace vexlo {

/// One attempt with the stored credentials and, when it fails, after a pause of 30 seconds a second
/// one with the label looked up afresh; the last result counts. Without credentials the update is
/// to be tried later. Made for one run.
class SiliconSoftwareUpdateInstaller {
 public:
  /// `version` is the macOS version, for the log only; the last blank-separated word of the
  /// update's label `macOSLabel` names its build. `dependencies` must outlive this object.
  SiliconSoftwareUpdateInstaller(
      std::string version, std::string macOSLabel,
      SoftwareUpdateInstallerDependencies& dependencies,
      platform::Sleeper sleeper = platform::systemSleeper(),
      std::int64_t macOSMajorVersion = PatchDeploymentConstants::macOSMajorVersion());

  /// Runs the installation to its end, which can take hours.
  [[nodiscard]] PatchActionResult installMacOS();

 private:
  [[nodiscard]] PatchActionResult downloadAndInstallMacOS(const Credentials& credentials);

  std::string version_;
  std::string macOSLabel_;
  SoftwareUpdateInstallerDependencies& dependencies_;
  platform::Sleeper sleeper_;
  std::int64_t macOSMajorVersion_;
};

}  // namespace vexlo
