#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::ElementsAre;

const PropertyList::Dictionary kAllSettings{
    {"subTitle", "s"},
    {"messageText", "Save \"it\".\nNow."},
    {"timerText", "t"},
    {"skipTimerCountInMinutes", std::int64_t{5}},
    {"disablePostponeButton", false},
    {"postponeBtnText", "p"},
    {"updateNowBtnText", "u"},
    {"forceDeploy", true},
    {"infoText", "i"},
    {"warningMessage", "w"},
    {"allowScreenGrab", true},
    {"numberOfSkipAttempts", std::int64_t{-3}},
    {"infoTextForLastForceAttempt", "il"},
    {"timerTextForLastForceAttempt", "tl"},
    {"dailyPromptLimit", std::numeric_limits<std::int64_t>::max()}};

void writeSettings(PropertyList::Dictionary settings) {
  testAgentDirectories().write("data/ApplicationRunningPromptCustomization.plist",
                               platform::toXML(std::move(settings)));
}

TEST(RunningAppPromptCustomizationProviderTest, ReadsAndLogsAllSettings) {
  const LogCapture log;
  writeSettings(kAllSettings);
  PlistSerializer decoder;
  RunningAppPromptCustomizationProvider provider(decoder);
  EXPECT_EQ(provider.customization()->encode(), kAllSettings);
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(
          InfoLine("RunningAppPromptCustomization(subTitle: Optional(\"s\"), messageText: "
                   R"(Optional("Save \"it\".\nNow."), timerText: Optional("t"), skipTimerCount: )"
                   "Optional(5), disablePostponeButton: Optional(false), postponeBtnText: "
                   "Optional(\"p\"), updateNowBtnText: Optional(\"u\"), enableForceDeploy: "
                   "Optional(true), infoText: Optional(\"i\"), warningMessage: Optional(\"w\"), "
                   "allowScreenGrab: Optional(true), numberOfSkipAttempts: Optional(-3), "
                   "infoTextForLastForceAttempt: Optional(\"il\"), timerTextForLastForceAttempt: "
                   "Optional(\"tl\"), dailyPromptLimit: Optional(9223372036854775807))"),
          LoggedBy("Validators/RunningApplicationCheckRelated/"
                   "RunningAppPromptCustomizationProvider",
                   "customizationData"))));
}

TEST(RunningAppPromptCustomizationProviderTest, OneWrongTypeDiscardsAllSettings) {
  const LogCapture log;
  const std::string integer = ": expected an integer of the signed 64-bit range, found the ";
  using Cases = std::vector<std::tuple<std::string, PropertyList, std::string>>;
  for (const auto& [key, value, error] :
       Cases{{"forceDeploy", "true", ": expected a Boolean, found the text \"true\""},
             {"dailyPromptLimit", true, integer + "Boolean true"},
             {"subTitle", PropertyList::Dictionary{}, ": expected a string, found a dictionary"}}) {
    SCOPED_TRACE(key);
    PropertyList::Dictionary settings = kAllSettings;
    settings.insert_or_assign(key, value);
    writeSettings(settings);
    PlistSerializer decoder;
    RunningAppPromptCustomizationProvider provider(decoder);
    EXPECT_EQ(provider.customizationData(), std::nullopt);
    EXPECT_THAT(log.records().back(),
                ErrorLine(text("Failed to decode customization data. Error: ",
                               RunningAppPromptCustomizationProviderConstants::plistPath(), ": ",
                               key, error, ".")));
    writeSettings(kAllSettings);
    EXPECT_EQ(provider.customization(), std::nullopt);
  }
}

TEST(RunningAppPromptCustomizationProviderTest, TimeoutIsTheCountdownPlus30Seconds) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  RunningAppPromptCustomization customization;
  EXPECT_EQ(promptTimeoutSeconds(std::nullopt), 930);
  EXPECT_EQ(promptTimeoutSeconds(customization), 930);
  customization.skipTimerCount = 5;
  EXPECT_EQ(promptTimeoutSeconds(customization), 330);
  customization.skipTimerCount = kLargest;
  EXPECT_EQ(promptTimeoutSeconds(customization), kLargest);
}

}  // namespace
}  // namespace vexlo
