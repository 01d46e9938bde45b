#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

class SoftwareUpdateLabelProviderTest : public ::testing::Test, public SoftwareUpdateLister {
 protected:
  std::optional<std::string> labelIn(const std::string& output, const std::string& build,
                                     std::int32_t exitCode = 0) {
    list = {.exitCode = exitCode, .output = output};
    log.clear();
    return DefaultSoftwareUpdateLabel(*this).label(build);
  }

  CommandResult fetchSoftwareUpdates() override { return list; }

  CommandResult list;
  LogCapture log;
};

TEST_F(SoftwareUpdateLabelProviderTest, EndsAtTheBuildsLastOccurrence) {
  for (const auto& [line, label] : std::vector<std::pair<std::string, std::string>>{
           {"* Label: macOS  A-1B2  (a)\r", "macOS  A-1B2"},
           {"- Label: a 1B2, again 1B2, end", "a 1B2, again 1B2"},
           {"1B2 Label: a Label: b 1b2", "a b 1b2"},
           {"Label: LLabel: abel: b 1B2", "Label: b 1B2"},
           {"LABEL: a Label:1B2", "LABEL: a Label:1B2"}}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(labelIn("\n" + line + "\n", "1B2"), label);
  }
}

TEST_F(SoftwareUpdateLabelProviderTest, UsesTheFirstLineWithTheBuild) {
  const std::string good = "\n* Label: good 1.2\n";
  for (const char* first : {"Title: 1.2", "1.2 Label:", "1.2 Label: 1x2"}) {
    SCOPED_TRACE(first);
    EXPECT_EQ(labelIn(first + good, "1.2"), std::nullopt);
    EXPECT_THAT(log.records().back(),
                ErrorLine("No match found with given software update output."));
  }
  EXPECT_EQ(labelIn("Label: 1x2" + good, "1.2"), "good 1.2");
}

TEST_F(SoftwareUpdateLabelProviderTest, AbsentWithoutTheBuildOrAList) {
  EXPECT_EQ(labelIn("* Label: macOS-23e224\n", "23E224"), std::nullopt);
  EXPECT_THAT(log.records().back(), InfoLine("Unable to get software update label from the given "
                                             "output for build version 23E224."));
  EXPECT_EQ(labelIn("* Label: macOS-23E224\n", "23E224", 1), std::nullopt);
}

}  // namespace
}  // namespace vexlo
