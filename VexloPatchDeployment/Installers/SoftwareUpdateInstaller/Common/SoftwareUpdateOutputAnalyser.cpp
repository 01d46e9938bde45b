#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"

#include <array>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/TextSearch.h"

namespace vexlo {
namespace {

constexpr LogTag kSoftwareUpdateOutputAnalyserTag{"validate(_:)"};

/// A kind of failure: its log line and its result.
struct Failure {
  std::string_view message;
  PatchActionResult::Outcome outcome;
  std::optional<PlainReason> reason;
};
constexpr Failure kNetwork{"macOS download/install failed due to network error",
                           PatchActionResult::Outcome::applyLater,
                           PlainReason::softwareUpdateUnreachable};
constexpr Failure kDiskSpace{"macOS download/install failed, Due to insufficient disk space.",
                             PatchActionResult::Outcome::applyLater,
                             PlainReason::inSufficientDiskSpaceForSoftwareUpdate};
constexpr Failure kDownload{"macOS not available for downloading, Marked as failure.",
                            PatchActionResult::Outcome::applyLater,
                            PlainReason::macOSSoftwareUpdateDownloadFailed};
constexpr Failure kInstallation{"macOS not available for installation, Marked as failure.",
                                PatchActionResult::Outcome::failure,
                                PlainReason::macOSSoftwareUpdateInstallationFailed};
constexpr Failure kNoSuchUpdate{
    "macOS not available for installation/downloading, Marked as failure.",
    PatchActionResult::Outcome::failure, std::nullopt};

struct KnownError {
  std::string_view text;
  const Failure& failure;
};
/// In search order. The tool writes typographic apostrophes.
constexpr std::array kKnownErrors{
    KnownError{"Can’t connect to the Software Update server", kNetwork},
    KnownError{"Make sure you’re connected to the internet", kNetwork},
    KnownError{"Can’t connect to the Apple Software Update server", kNetwork},
    KnownError{"Server not reachable", kNetwork},
    KnownError{"kAMAuthInstallErrorServerNotReachable", kNetwork},
    KnownError{"Not Enough Free Disk Space", kDiskSpace},
    KnownError{"Error downloading", kDownload},
    KnownError{"Error installing updates", kInstallation},
    KnownError{"No such update", kNoSuchUpdate},
};

}  // namespace

std::optional<PatchActionResult> DefaultSoftwareUpdateOutputAnalyser::validate(
    std::string_view output) {
  for (const KnownError& error : kKnownErrors) {
    if (TextSearch(error.text, Letters::ignoringCase).first(output)) {
      logError(kSoftwareUpdateOutputAnalyserTag, [&] { return error.failure.message; });
      return PatchActionResult{.outcome = error.failure.outcome,
                               .description = error.failure.reason};
    }
  }
  return std::nullopt;
}

}  // namespace vexlo
