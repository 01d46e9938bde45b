// Downloads and installs a macOS update, with one retry.
#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateCommand.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

namespace vexlo {

/// The base of the installers for both kinds of machine: one attempt and, if it fails, a second one
/// after a pause of 30 seconds, with the label looked up again; the last result counts. Made for
/// one run.
class SoftwareUpdateInstallation {
 public:
  /// `version` is the macOS version, for the log only. The last space-separated word of the
  /// update's label `macOSLabel` is its build. `dependencies` must outlive this object. Each
  /// attempt asks for `macOSMajorVersion`.
  SoftwareUpdateInstallation(
      std::string version, std::string macOSLabel,
      SoftwareUpdateInstallerDependencies& dependencies,
      platform::Sleeper sleeper = platform::systemSleeper(),
      std::function<std::int64_t()> macOSMajorVersion = PatchDeploymentConstants::macOSMajorVersion)
      : version_(std::move(version)),
        macOSLabel_(std::move(macOSLabel)),
        dependencies_(dependencies),
        sleeper_(std::move(sleeper)),
        macOSMajorVersion_(std::move(macOSMajorVersion)) {}

 protected:
  /// Makes one or two attempts.
  [[nodiscard]] PatchActionResult downloadAndInstallMacOS(
      const SoftwareUpdateAuthContext& authContext, const LogPlace& place);

  std::string version_;
  std::string macOSLabel_;
  SoftwareUpdateInstallerDependencies& dependencies_;

 private:
  /// Makes one attempt.
  [[nodiscard]] PatchActionResult downloadAndInstallMacOS(
      const SoftwareUpdateAuthContext& authContext, const std::string& label);
  /// Notifies the observer and sleeps.
  void pause(std::chrono::milliseconds duration);

  platform::Sleeper sleeper_;
  std::function<std::int64_t()> macOSMajorVersion_;
};

/// An installation without credentials.
class IntelSoftwareUpdateInstaller : private SoftwareUpdateInstallation {
 public:
  using SoftwareUpdateInstallation::SoftwareUpdateInstallation;
  /// Runs the installation to its end, which can take hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

/// An installation with the stored credentials; `applyLater` without them.
class SiliconSoftwareUpdateInstaller : private SoftwareUpdateInstallation {
 public:
  using SoftwareUpdateInstallation::SoftwareUpdateInstallation;
  /// Runs the installation to its end, which can take hours.
  [[nodiscard]] PatchActionResult installMacOS();
};

}  // namespace vexlo
