// Downloads and installs a macOS update, with one retry.
#pragma once
#include <cstdint>
#include <source_location>
#include <string>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateAuthContext.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallerDependencies.h"

namespace vexlo {

/// What the installers of both kinds of machine do alike. Borrows the dependencies and the sleeper.
class SoftwareUpdateInstallation {
 public:
  SoftwareUpdateInstallation(SoftwareUpdateAuthContext authContext,
                             SoftwareUpdateInstallerDependencies& dependencies,
                             const platform::Sleeper& sleeper, std::int64_t macOSMajorVersion);

  /// Makes one attempt with `macOSLabel` and, unless it succeeds, after a pause a second and last
  /// one with the label that is then listed for the same build. The log lines of the retry carry
  /// the caller's tag and place.
  [[nodiscard]] PatchActionResult run(const std::string& macOSLabel, const LogTag& tag,
                                      std::source_location where = std::source_location::current());

 private:
  [[nodiscard]] PatchActionResult attempt(const std::string& label);

  SoftwareUpdateAuthContext authContext_;
  SoftwareUpdateInstallerDependencies& dependencies_;
  const platform::Sleeper& sleeper_;
  std::int64_t macOSMajorVersion_;
};

}  // namespace vexlo
