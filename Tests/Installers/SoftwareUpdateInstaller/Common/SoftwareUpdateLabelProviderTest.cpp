#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Fakes/FakeSoftwareUpdateLister.h"
#include "Tests/Fakes/LogCapture.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Optional;

class DefaultSoftwareUpdateLabelTest : public ::testing::Test {
 protected:
  std::optional<std::string> labelIn(const std::string& output, const std::string& build) {
    lister->list = {.exitCode = 0, .output = output};
    log.clear();
    return DefaultSoftwareUpdateLabel(lister).label(build);
  }

  std::shared_ptr<FakeSoftwareUpdateLister> lister = std::make_shared<FakeSoftwareUpdateLister>();
  LogCapture log;
};

TEST_F(DefaultSoftwareUpdateLabelTest, FindsTheLabelInAListWithNoise) {
  EXPECT_EQ(labelIn("Software Update Tool\n\n"
                    "2024-02-12 softwareupdate[9:9] XType: Using static font registry.\n"
                    "* Label: macOS Ventura 13.6.6-22G630\n"
                    "\tTitle: macOS Ventura 13.6.6, Version: 13.6.6, Action: restart, \n"
                    "* Label: macOS Sonoma 14.4.1-23E224\n",
                    "22G630"),
            "macOS Ventura 13.6.6-22G630");
  EXPECT_THAT(
      log.records(),
      AllOf(Each(LoggedBy("Installers/SoftwareUpdateInstaller/Common/SoftwareUpdateLabelProvider",
                          "label(for:)")),
            ElementsAre(
                InfoLine("Software update list: [\"Software Update Tool\", \"2024-02-12 "
                         "softwareupdate[9:9] XType: Using static font registry.\", \"* Label: "
                         "macOS Ventura 13.6.6-22G630\", \"\tTitle: macOS Ventura 13.6.6, Version: "
                         "13.6.6, Action: restart, \", \"* Label: macOS Sonoma "
                         "14.4.1-23E224\"], count: 5."),
                InfoLine("Label found - \"macOS Ventura 13.6.6-22G630\"."))));
}

TEST_F(DefaultSoftwareUpdateLabelTest, RunsFromTheFirstMarkToTheBuildsLastOccurrence) {
  struct Case {
    const char* line;
    const char* build;
    const char* label;
  };
  const std::vector<Case> cases = {
      {"* Label: macOS  A-23E224  (a)", "23E224", "macOS  A-23E224"},
      {"* Label: macOS\u00A0A-23E224", "23E224", "macOS\u00A0A-23E224"},
      {"- Label: a 1B2, again 1B2, end", "1B2", "a 1B2, again 1B2"},
      {"1B2 Label: a 1B2", "1B2", "a 1B2"},
      {"Label: a Label: b 1B2", "1B2", "a b 1B2"},
      {"Label: LLabel: abel: b 1B2", "1B2", "Label: b 1B2"},
      {"x Label:a-1B2", "1B2", "Label:a-1B2"},
      {"* label: a-1B2", "1B2", "label: a-1B2"},
      {"LABEL: a Label: b-1B2", "1B2", "LABEL: a b-1B2"},
      {"Label: a-1B2 b-1b2", "1B2", "a-1B2 b-1b2"},
      {"Label:1B2", "1B2", "Label:1B2"},
      {"Label: a-1+(2.)[b]*\\", "1+(2.)[b]*\\", "a-1+(2.)[b]*\\"},
      {"Label: aaaaaa", "aaa", "aaaaaa"},
      {"Label: a-1B2\r", "1B2", "a-1B2"},
  };
  for (const auto& [line, build, label] : cases) {
    EXPECT_THAT(labelIn(std::string("\n") + line + "\n", build), Optional(std::string(label)))
        << line;
  }
}

TEST_F(DefaultSoftwareUpdateLabelTest, OnlyTheFirstLineThatHoldsTheBuildIsTried) {
  const std::string good = "\n* Label: good 1.2\n";
  for (const char* first : {"Title: 1.2", "1.2 Label:", "1.2 Label: 1x2", "Label:1.2Label"}) {
    const bool matches = first == std::string("Label:1.2Label");
    EXPECT_EQ(labelIn(first + good, "1.2").has_value(), matches) << first;
    if (!matches) {
      EXPECT_THAT(log.records().back(),
                  ErrorLine("No match found with given software update output."));
    }
  }
  EXPECT_EQ(labelIn("Label: 1x2, 1b2" + good, "1.2"), "good 1.2");  // no pattern, not yet any case
}

TEST_F(DefaultSoftwareUpdateLabelTest, NoBuildAndNoListGiveNoLabel) {
  EXPECT_EQ(labelIn("* Label: macOS-23e224\n", "23E224"), std::nullopt);
  EXPECT_THAT(log.records(),
              ElementsAre(InfoLine("Software update list: [\"* Label: macOS-23e224\"], count: 1."),
                          InfoLine("Unable to get software update label from the given output for "
                                   "build version 23E224.")));
  log.clear();
  lister->list = {.exitCode = 1, .output = "* Label: macOS-23E224\n"};
  EXPECT_EQ(DefaultSoftwareUpdateLabel(lister).label("23E224"), std::nullopt);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Unable to get software update label exitCode: 1, output: * "
                                    "Label: macOS-23E224\n.")));
}

TEST_F(DefaultSoftwareUpdateLabelTest, ReadsALineOfTenMegabytes) {
  std::string filling;
  filling.resize(10'000'000, '.');
  EXPECT_EQ(labelIn("Label: a" + filling + ".*+b", ".*+"), "a" + filling + ".*+");
}

}  // namespace
}  // namespace vexlo
