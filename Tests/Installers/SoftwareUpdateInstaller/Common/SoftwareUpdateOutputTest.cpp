// What is read in the tool's output: the label of a build, and why a run failed.
#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/FakeSoftwareUpdateLister.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateOutputAnalyser.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;

const std::string kFolder = "Installers/SoftwareUpdateInstaller/Common/";

class DefaultSoftwareUpdateLabelTest : public ::testing::Test {
 protected:
  std::optional<std::string> labelIn(const std::string& output, const std::string& build,
                                     std::int32_t exitCode = 0) {
    lister->list = {.exitCode = exitCode, .output = output};
    log.clear();
    return DefaultSoftwareUpdateLabel(lister).label(build);
  }

  std::shared_ptr<FakeSoftwareUpdateLister> lister = std::make_shared<FakeSoftwareUpdateLister>();
  LogCapture log;
};

TEST_F(DefaultSoftwareUpdateLabelTest, FindsTheLabelInAList) {
  EXPECT_EQ(labelIn("Software Update Tool\n\n"
                    "* Label: macOS Ventura 13.6.6-22G630\n"
                    "* Label: macOS Sonoma 14.4.1-23E224\n",
                    "22G630"),
            "macOS Ventura 13.6.6-22G630");
  EXPECT_THAT(
      log.records(),
      AllOf(
          Each(LoggedBy(kFolder + "SoftwareUpdateLabelProvider", "label(for:)")),
          ElementsAre(
              InfoLine("Software update list: [\"Software Update Tool\", \"* Label: macOS Ventura "
                       "13.6.6-22G630\", \"* Label: macOS Sonoma 14.4.1-23E224\"], count: 3."),
              InfoLine("Label found - \"macOS Ventura 13.6.6-22G630\"."))));
}

TEST_F(DefaultSoftwareUpdateLabelTest, RunsFromTheFirstMarkToTheBuildsLastOccurrence) {
  for (const auto& [line, label] : std::vector<std::pair<std::string, std::string>>{
           {"* Label: macOS  A-1B2  (a)\r", "macOS  A-1B2"},
           {"- Label: a 1B2, again 1B2, end", "a 1B2, again 1B2"},
           {"1B2 Label: a Label: b 1b2", "a b 1b2"},
           {"Label: LLabel: abel: b 1B2", "Label: b 1B2"},
           {"LABEL: a Label:1B2", "LABEL: a Label:1B2"}}) {
    EXPECT_EQ(labelIn("\n" + line + "\n", "1B2"), label);
  }
}

TEST_F(DefaultSoftwareUpdateLabelTest, OnlyTheFirstLineThatHoldsTheBuildIsTried) {
  const std::string good = "\n* Label: good 1.2\n";
  for (const char* first : {"Title: 1.2", "1.2 Label:", "1.2 Label: 1x2"}) {
    EXPECT_EQ(labelIn(first + good, "1.2"), std::nullopt) << first;
    EXPECT_THAT(log.records().back(),
                ErrorLine("No match found with given software update output."));
  }
  EXPECT_EQ(labelIn("Label: 1x2" + good, "1.2"), "good 1.2");
}

TEST_F(DefaultSoftwareUpdateLabelTest, NoBuildAndNoListGiveNoLabel) {
  EXPECT_EQ(labelIn("* Label: macOS-23e224\n", "23E224"), std::nullopt);
  EXPECT_THAT(log.records().back(), InfoLine("Unable to get software update label from the given "
                                             "output for build version 23E224."));
  EXPECT_EQ(labelIn("* Label: macOS-23E224\n", "23E224", 1), std::nullopt);
}

TEST(DefaultSoftwareUpdateOutputAnalyserTest, TheFirstKnownTextDecides) {
  struct Row {
    const char* text;
    const char* line;
    PatchActionResult result;
  };
  const char* const network = "macOS download/install failed due to network error";
  const auto later = [](PlainReason reason) { return PatchActionResult::applyLater(reason); };
  const auto unreachable = later(PlainReason::softwareUpdateUnreachable);
  const std::vector<Row> rows = {
      {"CAN’t Connect to the Software Update server", network, unreachable},
      {"Make sure you’re connected to the INTERNET", network, unreachable},
      {"Can’t connect to the apple software update server", network, unreachable},
      {"SERVER not reachable", network, unreachable},
      {"(kAMAuthInstallErrorServerNotReachable)", network, unreachable},
      {"not enough free disk space",
       "macOS download/install failed, Due to insufficient disk space.",
       later(PlainReason::inSufficientDiskSpaceForSoftwareUpdate)},
      {"Error Downloading.", "macOS not available for downloading, Marked as failure.",
       later(PlainReason::macOSSoftwareUpdateDownloadFailed)},
      {"error installing updates", "macOS not available for installation, Marked as failure.",
       PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed)},
      {"No Such Update", "macOS not available for installation/downloading, Marked as failure.",
       PatchActionResult::failure()}};
  const LogCapture log;
  std::string output = "Software Update Tool\n";
  for (const Row& row : std::views::reverse(rows)) {
    output += std::string("noise ") + row.text + "\n";  // goes before those added earlier
    EXPECT_EQ(DefaultSoftwareUpdateOutputAnalyser().validate(output), row.result) << row.text;
    EXPECT_THAT(log.records().back(),
                AllOf(ErrorLine(row.line),
                      LoggedBy(kFolder + "SoftwareUpdateOutputAnalyser", "validate(_:)")));
  }
  for (const char* other : {"", "Can't connect to the Software Update server", "No such\nupdate"}) {
    EXPECT_EQ(DefaultSoftwareUpdateOutputAnalyser().validate(other), std::nullopt) << other;
  }
}

}  // namespace
}  // namespace vexlo
