#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSInstaller.h"

namespace vexlo {
namespace {

constexpr std::chrono::seconds kPauseBeforeRetry{30};
constexpr std::chrono::seconds kPauseBeforeInstallation{5};

/// Before macOS 13 the tool runs in the console user's login context, from 13 to 25 as root. From
/// 26 on it needs that context again, except for a download on Intel, which takes no credentials.
constexpr std::int64_t kFirstVersionAsRoot = 13;
constexpr std::int64_t kFirstVersionAsUserAgain = 26;

/// The last blank-separated word: «14.4.1-23E224» of «macOS Sonoma 14.4.1-23E224».
std::string_view buildVersion(std::string_view label) {
  return label.substr(label.rfind(' ') + 1);  // the whole label without a blank
}

}  // namespace

SoftwareUpdateInstallation::SoftwareUpdateInstallation(
    SoftwareUpdateAuthContext authContext, SoftwareUpdateInstallerDependencies& dependencies,
    const platform::Sleeper& sleeper, std::int64_t macOSMajorVersion)
    : authContext_(std::move(authContext)),
      dependencies_(dependencies),
      sleeper_(sleeper),
      macOSMajorVersion_(macOSMajorVersion) {}

PatchActionResult SoftwareUpdateInstallation::run(const std::string& macOSLabel, const LogTag& tag,
                                                  std::source_location where) {
  PatchActionResult first = attempt(macOSLabel);
  if (first == PatchActionResult::success()) {
    return first;
  }
  logInfo(
      tag,
      [&] {
        return text("First try failed, trying to install again status: ", describe(first), ".");
      },
      where);
  sleeper_(kPauseBeforeRetry);
  const std::optional<std::string> label =
      dependencies_.labelProvider().label(buildVersion(macOSLabel));
  if (!label) {
    logError(
        tag, [] { return "Unable to get macOS build version/ label. Aborting next try."; }, where);
    measured([&] { return UpdateNotListed{std::string(buildVersion(macOSLabel))}; });
    return first;
  }
  return attempt(*label);
}

PatchActionResult SoftwareUpdateInstallation::attempt(const std::string& label) {
  const bool isSilicon = authContext_.credentials() != nullptr;
  const bool isBeforeRoot = macOSMajorVersion_ < kFirstVersionAsRoot;
  const bool isAfterRoot = macOSMajorVersion_ >= kFirstVersionAsUserAgain;

  DefaultMacOSDownloader downloader(label, authContext_, dependencies_.executor(),
                                    dependencies_.outputValidator(), macOSMajorVersion_);
  PatchActionResult download = downloader.download(isBeforeRoot || (isSilicon && isAfterRoot),
                                                   dependencies_.userSessionProvider());
  if (download != PatchActionResult::success()) {
    return download;
  }
  dependencies_.notifier().notifyUpdatesInProgress();
  sleeper_(kPauseBeforeInstallation);
  DefaultMacOSInstaller installer(label, authContext_, dependencies_.executor(),
                                  dependencies_.outputValidator(), macOSMajorVersion_);
  return installer.install(isBeforeRoot || isAfterRoot, dependencies_.userSessionProvider());
}

}  // namespace vexlo
