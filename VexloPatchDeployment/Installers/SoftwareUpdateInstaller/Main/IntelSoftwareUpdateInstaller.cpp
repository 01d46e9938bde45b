#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/IntelSoftwareUpdateInstaller.h"

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kIntelSoftwareUpdateInstallerTag{"installMacOS()"};
constexpr LogTag kIntelRetryTag{"downloadAndInstallMacOS()"};

}  // namespace

PatchActionResult IntelSoftwareUpdateInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies().preferredLanguage();
  logInfo(kIntelSoftwareUpdateInstallerTag, [&] {
    return text("Starting installation of Intel Software Update for ", version(),
                ", label: ", macOSLabel(), ". Machine locale language: ", optionalText(language),
                ".");
  });
  return downloadAndInstallMacOS(SoftwareUpdateAuthContext::intel(), kIntelRetryTag);
}

}  // namespace vexlo
