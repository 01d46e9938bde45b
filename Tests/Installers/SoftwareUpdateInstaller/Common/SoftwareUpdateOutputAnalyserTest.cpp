#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/Notifications.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateNotifier.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The rows in their order of precedence: text, line, result.
struct Row {
  const char* text;
  const char* line;
  PatchActionResult result;
};
const char* const kNetworkLine = "macOS download/install failed due to network error";
const auto kUnreachable = PatchActionResult::applyLater(PlainReason::softwareUpdateUnreachable);
const std::vector<Row> kRows = {
    {"Can’t connect to the Software Update server", kNetworkLine, kUnreachable},
    {"Make sure you’re connected to the internet", kNetworkLine, kUnreachable},
    {"Can’t connect to the Apple Software Update server", kNetworkLine, kUnreachable},
    {"Server not reachable", kNetworkLine, kUnreachable},
    {"kAMAuthInstallErrorServerNotReachable", kNetworkLine, kUnreachable},
    {"Not Enough Free Disk Space", "macOS download/install failed, Due to insufficient disk space.",
     PatchActionResult::applyLater(PlainReason::inSufficientDiskSpaceForSoftwareUpdate)},
    {"Error downloading", "macOS not available for downloading, Marked as failure.",
     PatchActionResult::applyLater(PlainReason::macOSSoftwareUpdateDownloadFailed)},
    {"Error installing updates", "macOS not available for installation, Marked as failure.",
     PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed)},
    {"No such update", "macOS not available for installation/downloading, Marked as failure.",
     PatchActionResult::failure()},
};

std::string inCapitals(std::string text) {
  for (char& c : text) {
    c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return text;
}

TEST(DefaultSoftwareUpdateOutputAnalyserTest, TheFirstKnownTextDecides) {
  DefaultSoftwareUpdateOutputAnalyser analyser;
  std::string output = "Software Update Tool\n";
  for (auto row = std::rbegin(kRows); row != std::rend(kRows); ++row) {
    output += "noise " + inCapitals(row->text) + ".\n";  // each goes before those added earlier
    const LogCapture log;
    EXPECT_EQ(analyser.validate(output), row->result) << row->text;
    EXPECT_EQ(analyser.validate(row->text), row->result) << row->text;
    const auto line =
        AllOf(ErrorLine(row->line),
              LoggedBy("Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser",
                       "validate(_:)"));
    EXPECT_THAT(log.records(), ElementsAre(line, line));
  }
}

TEST(DefaultSoftwareUpdateOutputAnalyserTest, OtherOutputSaysNothing) {
  const LogCapture log;
  for (const char* output : {"", "Downloading: 100.00%\nDownloaded: macOS Sonoma 14.5\n",
                             "Can't connect to the Software Update server", "No such\nupdate"}) {
    EXPECT_EQ(DefaultSoftwareUpdateOutputAnalyser().validate(output), std::nullopt) << output;
  }
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(DefaultSoftwareUpdateNotifierTest, PostsTheAgentsNotification) {
  std::vector<std::pair<std::int32_t, void*>> posted;
  vxutils::setNotificationHandler(
      [&](std::int32_t code, void* argument) { posted.emplace_back(code, argument); });
  const LogCapture log;
  DefaultSoftwareUpdateNotifier().notifyUpdatesInProgress();
  vxutils::setNotificationHandler(nullptr);
  EXPECT_THAT(posted, ElementsAre(std::pair(19, nullptr)));
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine("Showing update is in progress notification."),
                        LoggedBy("Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateNotifier",
                                 "notifyUpdatesInProgress()"))));
}

}  // namespace
}  // namespace vexlo
