#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TestAgentDirectories.h"

namespace vexlo {
namespace {

using platform::PropertyList;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::StartsWith;

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

constexpr const char* kNothing =
    "RunningAppPromptCustomization(subTitle: nil, messageText: nil, timerText: nil, "
    "skipTimerCount: nil, disablePostponeButton: nil, postponeBtnText: nil, updateNowBtnText: "
    "nil, enableForceDeploy: nil, infoText: nil, warningMessage: nil, allowScreenGrab: nil, "
    "numberOfSkipAttempts: nil, infoTextForLastForceAttempt: nil, timerTextForLastForceAttempt: "
    "nil, dailyPromptLimit: nil)";

/// Every test has its provider on the customization file of the program's data directory.
class RunningAppPromptCustomizationProviderTest : public ::testing::Test {
 protected:
  ~RunningAppPromptCustomizationProviderTest() override {
    std::filesystem::remove(agent.file(kFile));
  }
  void writeSettings(PropertyList::Dictionary settings) {
    agent.write(kFile, platform::toXML(std::move(settings)));
  }

  static constexpr const char* kFile = "data/ApplicationRunningPromptCustomization.plist";
  const TemporaryDirectory& agent = testAgentDirectories();
  LogCapture log;
  RunningAppPromptCustomizationProvider provider{std::make_shared<PlistSerializer>()};
};

TEST_F(RunningAppPromptCustomizationProviderTest, AllSettingsAreReadAndLogged) {
  writeSettings(kAllSettings);
  const auto customization = provider.customization().value();
  EXPECT_EQ(customization.skipTimerCount, 5);
  EXPECT_EQ(customization.enableForceDeploy, true);
  EXPECT_EQ(customization.numberOfSkipAttempts, -3);
  EXPECT_EQ(customization.encode(), kAllSettings);
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

TEST_F(RunningAppPromptCustomizationProviderTest, UnknownKeysAreIgnoredAndMissingOnesAbsent) {
  writeSettings({{"skipTimerCount", std::int64_t{5}}, {"enableForceDeploy", "no Boolean"}});
  EXPECT_EQ(provider.customization(), RunningAppPromptCustomization{});
  EXPECT_THAT(log.records(), ElementsAre(InfoLine(kNothing)));
}

TEST_F(RunningAppPromptCustomizationProviderTest, TheFirstAnswerIsKeptAbsenceIncluded) {
  EXPECT_EQ(provider.customizationData(), std::nullopt);
  writeSettings(kAllSettings);
  EXPECT_EQ(provider.customizationData(), std::nullopt);
  EXPECT_EQ(provider.customization(), std::nullopt);
  EXPECT_THAT(
      log.records(),
      ElementsAre(AllOf(Field(&LogRecord::level, LogCore::LogLevel::error),
                        Field(&LogRecord::message,
                              AllOf(StartsWith("Failed to decode customization data. Error: "),
                                    HasSubstr(agent.file(kFile)))))));
}

struct MistypedCase {
  const char* name;
  const char* key;
  PropertyList value;
  const char* error;
};

class MistypedSettingTest : public RunningAppPromptCustomizationProviderTest,
                            public ::testing::WithParamInterface<MistypedCase> {};

TEST_P(MistypedSettingTest, DiscardsAllSettingsAndIsNamed) {
  PropertyList::Dictionary settings = kAllSettings;
  settings.insert_or_assign(GetParam().key, GetParam().value);
  writeSettings(settings);
  EXPECT_EQ(provider.customizationData(), std::nullopt);
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("Failed to decode customization data. Error: " +
                                    agent.file(kFile) + ": " + GetParam().error + ".")));
}

INSTANTIATE_TEST_SUITE_P(
    Values, MistypedSettingTest,
    ::testing::Values(
        MistypedCase{"TextForBoolean", "forceDeploy", "true",
                     "forceDeploy: expected a Boolean, found the text \"true\""},
        MistypedCase{"IntegerForBoolean", "allowScreenGrab", std::int64_t{1},
                     "allowScreenGrab: expected a Boolean, found the integer 1"},
        MistypedCase{"BooleanForInteger", "dailyPromptLimit", true,
                     "dailyPromptLimit: expected an integer of the signed 64-bit range, found the "
                     "Boolean true"},
        MistypedCase{"TooLargeInteger", "numberOfSkipAttempts",
                     PropertyList::Value(std::numeric_limits<std::uint64_t>::max()),
                     "numberOfSkipAttempts: expected an integer of the signed 64-bit range, found "
                     "the integer 18446744073709551615"},
        MistypedCase{"RealForInteger", "skipTimerCountInMinutes", PropertyList::Value(1.5),
                     "skipTimerCountInMinutes: expected an integer of the signed 64-bit range, "
                     "found the real number 1.5"},
        MistypedCase{"DictionaryForText", "subTitle", PropertyList::Dictionary{{"en", "s"}},
                     "subTitle: expected a text, found a dictionary"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace vexlo
