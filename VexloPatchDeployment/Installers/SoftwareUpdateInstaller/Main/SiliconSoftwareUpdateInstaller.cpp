#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SiliconSoftwareUpdateInstaller.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextForms.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {
namespace {

constexpr LogTag kSiliconSoftwareUpdateInstallerTag{"installMacOS()"};
constexpr LogTag kSiliconRetryTag{"downloadAndInstallMacOS(using:)"};

}  // namespace

SiliconSoftwareUpdateInstaller::SiliconSoftwareUpdateInstaller(
    std::string version, std::string macOSLabel, SoftwareUpdateInstallerDependencies& dependencies,
    platform::Sleeper sleeper, std::int64_t macOSMajorVersion)
    : version_(std::move(version)),
      macOSLabel_(std::move(macOSLabel)),
      dependencies_(dependencies),
      sleeper_(std::move(sleeper)),
      macOSMajorVersion_(macOSMajorVersion) {}

PatchActionResult SiliconSoftwareUpdateInstaller::installMacOS() {
  const std::optional<std::string> language = dependencies_.preferredLanguage();
  logInfo(kSiliconSoftwareUpdateInstallerTag, [&] {
    return text("Starting installation of Silicon Software Update for ", version_,
                ", Label: ", macOSLabel_, ". Machine locale language: ", optionalText(language),
                ".");
  });
  CredentialsFetcher* const fetcher = dependencies_.userCredentials();
  const std::optional<Credentials> credentials =
      fetcher != nullptr ? fetcher->credentials() : std::nullopt;
  if (!credentials) {
    return PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  }
  return downloadAndInstallMacOS(*credentials);
}

PatchActionResult SiliconSoftwareUpdateInstaller::downloadAndInstallMacOS(
    const Credentials& credentials) {
  return SoftwareUpdateInstallation(SoftwareUpdateAuthContext::silicon(credentials), dependencies_,
                                    sleeper_, macOSMajorVersion_)
      .run(macOSLabel_, kSiliconRetryTag);
}

}  // namespace vexlo
