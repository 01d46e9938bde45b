#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelSoftwareUpdateInstallerTag{"installMacOS()"};
constexpr LogTag kIntelRetryTag{"downloadAndInstallMacOS()"};

}  // namespace

PatchActionResult IntelSoftwareUpdateInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kIntelSoftwareUpdateInstallerTag, [&] {
    return text("Starting installation of Intel Software Update for ", version_,
                ", label: ", macOSLabel_, ". Machine locale language: ", optionalText(language),
                ".");
  });
  return downloadAndInstallMacOS(SoftwareUpdateAuthContext::intel(), kIntelRetryTag);
}

}  // namespace vexlo
