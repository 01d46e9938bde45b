#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "Tests/Fakes/ExamplePatchActions.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

using ::testing::AllOf;

std::shared_ptr<const PatchActionGroup> decoded(std::string json) {
  return std::make_shared<const PatchActionGroup>(PatchActionGroup::decode(std::move(json), "f"));
}

/// The plan on one line: `minimumDiskSpaceCheck["40"]`, a trailing `*` for the patch's own.
std::string planOf(const PatchIdentifier& patch,
                   const std::shared_ptr<const PatchActionGroup>& group) {
  std::string out;
  for (const ActionDetail& detail : PatchActionProvider(patch, group).actionDetails()) {
    out += (out.empty() ? "" : " ") + describe(detail.actionID) + listText(detail.arguments) +
           (detail.origin == ActionOrigin::patch ? "*" : "");
  }
  return out;
}

TEST(PatchActionProviderTest, MergesSortsAndExempts) {
  const LogCapture log;
  const auto group = decoded(std::string(kExamplePatchActions));
  EXPECT_EQ(planOf({"310990", "1201", "2301"}, group),
            "siliconBatteryPercentageCheck[\"30\"] intelBatteryPercentageCheck[\"30\"] "
            "userLoggedInCheck[] minimumDiskSpaceCheck[\"40\"]* undefined(\"3001\")[\"x\"]*");
  EXPECT_EQ(planOf({"310872", "1201", "2301"}, group),
            "minimumDiskSpaceCheck[\"25\"]* "
            "applicationRunningCheck[\"com.apple.Safari\", \"com.apple.Preview\"]*");
  EXPECT_THAT(
      log.records().back(),
      AllOf(InfoLine("Patch is defined in exclusionPatchIDs. Using only PatchActions define "
                     "for patchID: [minimumDiskSpaceCheck: [\"25\"], applicationRunningCheck: "
                     "[\"com.apple.Safari\", \"com.apple.Preview\"]]."),
            LoggedBy("PatchActions/Helpers/PatchActionProvider", "actionDetails()")));
  EXPECT_EQ(planOf({"1", "5000", "1"}, group), "");
  EXPECT_THAT(log.records().back(), InfoLine("Applicable actions for patchID: 1: [:]."));
  // Codes are sorted as numbers.
  const auto codes = decoded(R"({
    "ProductServicePackActions": {"ExclusionPatchIDs": ["ab"], "q": {"t": {"2003": []}},
                                  "p": {"s": {"abc": [], "2005": ["1", "2"], "2004": ["9"]}}},
    "PatchActions": {"AB": {"-5": [], "+2005": [], "2005": [], "10": []}, "ab": {}}})");
  EXPECT_EQ(planOf({"AB", "p", "s"}, codes),
            "undefined(\"-5\")[]* undefined(\"10\")[]* multipleUserLoggedInCheck[\"9\"] "
            "undefined(\"+2005\")[]* minimumDiskSpaceCheck[]* undefined(\"abc\")[]");
  // A service pack is one of its product's.
  EXPECT_EQ(planOf({"x", "p", "t"}, codes), "");
  EXPECT_EQ(planOf({"x", "q", "s"}, codes), "");
}

}  // namespace
}  // namespace vexlo
