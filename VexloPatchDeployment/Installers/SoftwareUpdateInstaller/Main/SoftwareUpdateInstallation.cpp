#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

#include <chrono>
#include <optional>
#include <string_view>

#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"

namespace vexlo {
namespace {

constexpr std::chrono::seconds kPauseBeforeRetry{30};
constexpr std::chrono::seconds kPauseBeforeInstallation{5};

/// Before macOS 13 the tool runs in the console user's login context, from 13 to 25 as root. From
/// 26 on it needs the user's context again, except for downloads on Intel, which need no
/// credentials.
constexpr std::int64_t kFirstVersionAsRoot = 13;
constexpr std::int64_t kFirstVersionAsUserAgain = 26;

/// The last space-separated word: «14.4.1-23E224» of «macOS Sonoma 14.4.1-23E224».
std::string_view buildVersion(std::string_view label) {
  return label.substr(label.rfind(' ') + 1);  // the whole label if there is no space
}

}  // namespace

PatchActionResult SoftwareUpdateInstallation::downloadAndInstallMacOS(
    const SoftwareUpdateAuthContext& authContext, const LogPlace& place) {
  PatchActionResult first = downloadAndInstallMacOS(authContext, macOSLabel_);
  if (first == PatchActionResult::success()) {
    return first;
  }
  logInfo(place, [&] {
    return text("First try failed, trying to install again status: ", describe(first), ".");
  });
  pause(kPauseBeforeRetry);
  const std::optional<std::string> label =
      dependencies_.labelProvider().label(buildVersion(macOSLabel_));
  if (!label) {
    logError(place, [] { return "Unable to get macOS build version/ label. Aborting next try."; });
    measured([&] { return UpdateNotListed{std::string(buildVersion(macOSLabel_))}; });
    return first;
  }
  return downloadAndInstallMacOS(authContext, *label);
}

PatchActionResult SoftwareUpdateInstallation::downloadAndInstallMacOS(
    const SoftwareUpdateAuthContext& authContext, const std::string& label) {
  const std::int64_t macOSMajorVersion = macOSMajorVersion_();
  const bool isSilicon = authContext.credentials.has_value();
  const bool isBeforeRoot = macOSMajorVersion < kFirstVersionAsRoot;
  const bool isAfterRoot = macOSMajorVersion >= kFirstVersionAsUserAgain;

  DefaultMacOSDownloader downloader(label, authContext, dependencies_.executor(),
                                    dependencies_.outputValidator(), macOSMajorVersion);
  PatchActionResult download = downloader.download(isBeforeRoot || (isSilicon && isAfterRoot),
                                                   dependencies_.userSessionProvider());
  if (download != PatchActionResult::success()) {
    return download;
  }
  dependencies_.notifier().notifyUpdatesInProgress();
  pause(kPauseBeforeInstallation);
  DefaultMacOSInstaller installer(label, authContext, dependencies_.executor(),
                                  dependencies_.outputValidator(), macOSMajorVersion);
  return installer.install(isBeforeRoot || isAfterRoot, dependencies_.userSessionProvider());
}

void SoftwareUpdateInstallation::pause(std::chrono::milliseconds duration) {
  progressed({.phase = ActionProgress::Phase::waiting});
  sleeper_(duration);
  progressed({.phase = ActionProgress::Phase::starting});
}

}  // namespace vexlo
