#include <optional>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {
namespace {

constexpr LogTag kSiliconSoftwareUpdateInstallerTag{"installMacOS()"};
constexpr LogTag kSiliconRetryTag{"downloadAndInstallMacOS(using:)"};

}  // namespace

PatchActionResult SiliconSoftwareUpdateInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kSiliconSoftwareUpdateInstallerTag, [&] {
    return text("Starting installation of Silicon Software Update for ", version_,
                ", Label: ", macOSLabel_, ". Machine locale language: ", optionalText(language),
                ".");
  });
  const std::optional<Credentials> credentials = storedCredentials(dependencies_);
  if (!credentials) {
    return PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  }
  return downloadAndInstallMacOS(SoftwareUpdateAuthContext::silicon(*credentials),
                                 kSiliconRetryTag);
}

}  // namespace vexlo
