#include "VexloPatchDeployment/Common/ToolProgress.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace vexlo {
namespace {

using ::testing::ElementsAreArray;

TEST(ToolProgressTest, ParsesPhaseAndPercentage) {
  struct Case {
    std::vector<std::string> pieces;  // consecutive pieces of the output
    std::vector<std::string> told;
  };
  for (const Case& each : std::vector<Case>{
           {{"Software Update Tool\n\nFinding available software\nDownloading macOS 13.3\n"
             "Downloading: 0.10%\nDownloading: 54.99%\nDownloaded: macOS 13.3\n"},
            {"starting", "searching", "downloading", "downloading 0 %", "downloading 54 %",
             "downloading 100 %"}},
           {{"Preparing to run macOS Installer...\nPreparing: 2.2%            \nPreparing: 100.0%"},
            {"preparing", "preparing 2 %", "preparing 100 %"}},
           // A rewritten line is reported before the next carriage return ends it.
           {{"\rDownloading: 5%", "   \rDownloading: 1", "7%", "\rInstalling: 3%\r\nmore\n"},
            {"downloading 5 %", "downloading 17 %", "installing 3 %", "installing 3 %"}},
           {{"Downloading: 7%\nPreparing to run macOS Installer...\n"},
            {"downloading 7 %", "preparing"}},
           // Not percentages.
           {{"Downloading: 101%\nDownloading: -1%\nDownloading: %\nDownloading: nan%\n"},
            {"downloading", "downloading", "downloading", "downloading"}},
           {{"Downloading: 7%\n", std::string(9000, 'x') + ": 9%\nlast"},
            {"downloading 7 %", "downloading 7 %", "downloading 7 %"}},
       }) {
    std::vector<std::string> told;
    ToolProgress progress([&](const ActionProgress& now) { told.push_back(describe(now)); });
    for (const std::string& piece : each.pieces) {
      progress.read(piece);
    }
    progress.finish();
    EXPECT_THAT(told, ElementsAreArray(each.told)) << each.pieces.front();
  }
}

}  // namespace
}  // namespace vexlo
