#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/IntelSoftwareUpdateInstaller.h"

#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelSoftwareUpdateInstallerTag{"installMacOS()"};
constexpr LogTag kIntelRetryTag{"downloadAndInstallMacOS()"};

}  // namespace

IntelSoftwareUpdateInstaller::IntelSoftwareUpdateInstaller(
    std::string version, std::string macOSLabel, SoftwareUpdateInstallerDependencies& dependencies,
    platform::Sleeper sleeper, std::int64_t macOSMajorVersion)
    : version_(std::move(version)),
      macOSLabel_(std::move(macOSLabel)),
      dependencies_(dependencies),
      sleeper_(std::move(sleeper)),
      macOSMajorVersion_(macOSMajorVersion) {}

PatchActionResult IntelSoftwareUpdateInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kIntelSoftwareUpdateInstallerTag, [&] {
    return text("Starting installation of Intel Software Update for ", version_,
                ", label: ", macOSLabel_, ". Machine locale language: ", optionalText(language),
                ".");
  });
  return downloadAndInstallMacOS();
}

PatchActionResult IntelSoftwareUpdateInstaller::downloadAndInstallMacOS() {
  return SoftwareUpdateInstallation(SoftwareUpdateAuthContext::intel(), dependencies_, sleeper_,
                                    macOSMajorVersion_)
      .run(macOSLabel_, kIntelRetryTag);
}

}  // namespace vexlo
