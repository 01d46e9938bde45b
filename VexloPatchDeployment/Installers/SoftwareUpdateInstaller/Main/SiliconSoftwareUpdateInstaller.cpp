#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SiliconSoftwareUpdateInstaller.h"

#include <optional>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kSiliconSoftwareUpdateInstallerTag{"installMacOS()"};
constexpr LogTag kSiliconRetryTag{"downloadAndInstallMacOS(using:)"};

}  // namespace

PatchActionResult SiliconSoftwareUpdateInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies().preferredLanguage();
  logInfo(kSiliconSoftwareUpdateInstallerTag, [&] {
    return text("Starting installation of Silicon Software Update for ", version(),
                ", Label: ", macOSLabel(), ". Machine locale language: ", optionalText(language),
                ".");
  });
  const std::optional<Credentials> credentials = storedCredentials(dependencies());
  if (!credentials) {
    return PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  }
  return downloadAndInstallMacOS(SoftwareUpdateAuthContext::silicon(*credentials),
                                 kSiliconRetryTag);
}

}  // namespace vexlo
