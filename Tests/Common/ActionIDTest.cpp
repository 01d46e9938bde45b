#include "VexloPatchDeployment/Common/ActionID.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <unordered_set>

#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/Version.h"

namespace vexlo {
namespace {

using ::testing::HasSubstr;

struct CodeCase {
  const char* name;
  const char* code;
  ActionID expected;
  std::int64_t sortOrder;
};

class ActionCodeTest : public ::testing::TestWithParam<CodeCase> {};

TEST_P(ActionCodeTest, ConvertsWholeCodesAndOrdersByTheirNumber) {
  const ActionID action(GetParam().code);
  EXPECT_EQ(action, GetParam().expected);
  EXPECT_EQ(action.sortOrder(), GetParam().sortOrder);
  EXPECT_EQ(action.code(), GetParam().code);
  EXPECT_EQ(ActionID::decode(action.encode()), action);
}

CodeCase undefinedCase(const char* name, const char* code, std::int64_t sortOrder) {
  return {name, code, UndefinedAction{code}, sortOrder};
}

INSTANTIATE_TEST_SUITE_P(
    Codes, ActionCodeTest,
    ::testing::Values(
        CodeCase{"SiliconBattery", "2001", KnownAction::siliconBatteryPercentageCheck, 2001},
        CodeCase{"IntelBattery", "2002", KnownAction::intelBatteryPercentageCheck, 2002},
        CodeCase{"User", "2003", KnownAction::userLoggedInCheck, 2003},
        CodeCase{"Users", "2004", KnownAction::multipleUserLoggedInCheck, 2004},
        CodeCase{"Disk", "2005", KnownAction::minimumDiskSpaceCheck, 2005},
        CodeCase{"Defer", "2006", KnownAction::macOSDeferCheck, 2006},
        CodeCase{"Install", "2007", KnownAction::installMacOSUpdates, 2007},
        CodeCase{"Running", "2008", KnownAction::applicationRunningCheck, 2008},
        CodeCase{"Notifier", "2009", KnownAction::applicationRunningNotifier, 2009},
        CodeCase{"Upgrade", "2010", KnownAction::installMacOSUpdatesUsingInstallAssistant, 2010},
        undefinedCase("AfterTheLast", "2011", 2011), undefinedCase("BeforeTheFirst", "1999", 1999),
        undefinedCase("Negative", "-7", -7), undefinedCase("PlusSign", "+2003", 2003),
        undefinedCase("LeadingZero", "02001", 2001), undefinedCase("LeadingBlank", " 2001", 999999),
        undefinedCase("Letters", "abc", 999999), undefinedCase("Empty", "", 999999),
        undefinedCase("LonePlus", "+", 999999), undefinedCase("TwoSigns", "+-5", 999999),
        undefinedCase("TrailingLetter", "20G", 999999),
        undefinedCase("TwentyNines", "99999999999999999999", 999999),
        undefinedCase("Smallest", "-9223372036854775808", INT64_MIN),
        undefinedCase("QuotesAndControls", "\"\\\n\x01", 999999)),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ActionIDTest, UndefinedIsAnAlternativeOfItsOwn) {
  const ActionID undefined(UndefinedAction{"2001"});
  EXPECT_NE(undefined, ActionID("2001"));
  EXPECT_EQ(undefined.sortOrder(), 2001);
  EXPECT_NE(ActionID("abc"), ActionID("ABC"));
  const std::unordered_set<ActionID> actions{undefined, ActionID("2001"), ActionID("2001"),
                                             UndefinedAction{"2001"}};
  EXPECT_EQ(actions.size(), 2U);
  EXPECT_EQ(describe(undefined), R"(undefined("2001"))");
  EXPECT_EQ(undefined.encode(), R"({"undefined":{"_0":"2001"}})");
  EXPECT_EQ(ActionID("2006").encode(), R"({"macOSDeferCheck":{}})");
}

TEST(ActionIDTest, DecodingCountsRecognisedMembersOnly) {
  EXPECT_EQ(ActionID::decode(R"({"x":[{"undefined":1}],"macOSDeferCheck":{"_0":[1]}})"),
            KnownAction::macOSDeferCheck);
  EXPECT_EQ(ActionID::decode(R"({"undefined":{"a":{"_0":"no"},"_0":"300\u0031"}})"),
            UndefinedAction{"3001"});

  const auto problem = [](const char* json) -> std::string {
    try {
      return "decoded to " + describe(ActionID::decode(json));
    } catch (const ActionIDDecodingError& error) {
      return error.what();
    }
  };
  constexpr auto kNumber = "Invalid number of keys found, expected one.";
  EXPECT_EQ(problem("{}"), kNumber);
  EXPECT_EQ(problem(R"({"MacOSDeferCheck":{}})"), kNumber);
  EXPECT_EQ(problem(R"({"macOSDeferCheck":{},"userLoggedInCheck":{}})"), kNumber);
  EXPECT_THAT(problem(R"({"macOSDeferCheck":null})"), HasSubstr("Expected an object"));
  EXPECT_THAT(problem(R"({"undefined":{"_0":3001}})"), HasSubstr("\"_0\""));
  EXPECT_THAT(problem(R"({"undefined":{"x":{"_0":"3001"}}})"), HasSubstr("\"_0\""));
  EXPECT_THAT(problem("[]"), HasSubstr("Expected an object"));
  EXPECT_THAT(problem("{"), HasSubstr("line 1, column 2"));
}

TEST(PatchActionResultTest, PresentAndAbsentDescriptionsDiffer) {
  using Result = PatchActionResult;
  EXPECT_NE(Result::success(), Result::success(PlainReason::inSufficientBattery));
  EXPECT_NE(Result::applyLater(), Result::failure());
  EXPECT_NE(Result::applyLater(MacOSUpdateIsDeferred{}),
            Result::applyLater(MacOSUpdateIsDeferred{"2099-Jan-01"}));
  EXPECT_EQ(describe(Result::success()), "success");
  EXPECT_EQ(describe(Result::failure(PlainReason::unDefined)), "failure(unDefined)");
  EXPECT_EQ(describe(Result::applyLater(MacOSUpdateIsDeferred{})),
            "applyLater(macOSUpdateIsDeferred(nil))");
  EXPECT_EQ(describe(Result::success(
                GotUserAcknowledgementForPatchingRunningApplications{{{"com.a", "A"}}})),
            "success(gotUserAcknowledgementForPatchingRunningApplications([\"com.a\": \"A\"]))");
}

TEST(VersionTest, ConstantsHaveTheirBytes) {
  EXPECT_EQ(VexloPatchDeploymentVersionNumber, 1.0);
  const char* const text = reinterpret_cast<const char*>(VexloPatchDeploymentVersionString);
  EXPECT_STREQ(text, "@(#)PROGRAM:VexloPatchDeployment  PROJECT:VexloPatchDeployment-1\n");
}

}  // namespace
}  // namespace vexlo
