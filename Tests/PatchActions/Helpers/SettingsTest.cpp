// The two readers of the patch data file, and the macOS version constant.
#include <gmock/gmock.h>

#include <memory>

#include "Tests/Fakes/FakePlistManager.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"

namespace vexlo {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::ElementsAre;

constexpr auto kUnknown =
    "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled";

struct StatusCase {
  const char* name;
  std::optional<PropertyList> status;
  std::optional<PropertyList> enabled;
  bool expected;
  const char* line;
};

class MDMPatchingStatusCheckerTest : public ::testing::TestWithParam<StatusCase> {};

TEST_P(MDMPatchingStatusCheckerTest, ReadsBothKeysByTheirTypes) {
  const auto plist = std::make_shared<FakePlistManager>();
  plist->updateValue(GetParam().status, "OSPatchingViaMDMStatus");
  plist->updateValue(GetParam().enabled, "IsMDMPatchingEnabled");
  const LogCapture log;
  EXPECT_EQ(MDMPatchingStatusChecker(plist).isEnabled(), GetParam().expected);
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(InfoLine(GetParam().line),
                        LoggedBy("PatchActions/Helpers/MDMPatchingStatusChecker", "isEnabled()"))));
  const bool readSecond = plist->fetchedKeys.size() == 2;
  EXPECT_EQ(readSecond, std::string_view(GetParam().line) != kUnknown);
}

const PropertyList kOne = std::int64_t{1};

INSTANTIATE_TEST_SUITE_P(
    Values, MDMPatchingStatusCheckerTest,
    ::testing::Values(
        StatusCase{"Nothing", {}, {}, false, kUnknown},
        StatusCase{"Zero", PropertyList(std::int64_t{0}), "true", false, kUnknown},
        StatusCase{"StatusAsText", "1", "true", false, kUnknown},
        StatusCase{"StatusAsBoolean", PropertyList(true), "true", false, kUnknown},
        StatusCase{"RealOne", PropertyList(PropertyList::Value(1.0)), "true", true,
                   "MDM patching is enabled - Optional(\"true\")."},
        StatusCase{"NoSecondKey", kOne, {}, true, "MDM patching is enabled - nil."},
        StatusCase{"SecondAsBoolean", kOne, PropertyList(false), true,
                   "MDM patching is enabled - nil."},
        StatusCase{"OtherCase", kOne, "TRUE", true,
                   "MDM patching is enabled - Optional(\"TRUE\")."},
        StatusCase{"Yes", kOne, "yes", false, "MDM patching is disabled - Optional(\"yes\")."},
        StatusCase{"Empty", kOne, "", false, "MDM patching is disabled - Optional(\"\")."}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(MacOSUpdateDeferralEligibilityCheckerTest, OnlyABooleanSwitchesTheCheckOff) {
  const auto plist = std::make_shared<FakePlistManager>();
  MacOSUpdateDeferralEligibilityChecker checker(plist);
  const LogCapture log;
  EXPECT_FALSE(checker.isDisabled());
  plist->values["DisableMacOSUpdateDeferralCheck"] = "true";
  EXPECT_FALSE(checker.isDisabled());
  plist->values["DisableMacOSUpdateDeferralCheck"] = std::int64_t{1};
  EXPECT_FALSE(checker.isDisabled());
  plist->values["DisableMacOSUpdateDeferralCheck"] = true;
  EXPECT_TRUE(checker.isDisabled());
  const auto no = InfoLine("macOS update deferral check disabled: No");
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(no, LoggedBy("PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker",
                                     "isDisabled()")),
                  no, no, InfoLine("macOS update deferral check disabled: Yes")));
}

TEST(PatchDeploymentConstantsTest, AnUnreadableMajorVersionIsTwelve) {
  const LogCapture log;
  EXPECT_EQ(macOSMajorVersionFrom("14"), 14);
  EXPECT_EQ(macOSMajorVersionFrom(""), 12);
  EXPECT_EQ(macOSMajorVersionFrom("14.2"), 12);
  const auto line = ErrorLine("Unable to get macOS major version, using 12 as default");
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(line, LoggedBy("Common/PatchDeploymentConstants", "macOSMajorVersion")),
                  line));
}

}  // namespace
}  // namespace vexlo
