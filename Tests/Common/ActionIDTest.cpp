#include "VexloPatchDeployment/Common/ActionID.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace vexlo {
namespace {

TEST(ActionIDTest, OnlyExactCodesAreKnownAndSerializationRoundTrips) {
  int number = 2001;
  std::vector<KnownAction> known;
  for (const char* name :
       {"siliconBatteryPercentageCheck", "intelBatteryPercentageCheck", "userLoggedInCheck",
        "multipleUserLoggedInCheck", "minimumDiskSpaceCheck", "macOSDeferCheck",
        "installMacOSUpdates", "applicationRunningCheck", "applicationRunningNotifier",
        "installMacOSUpdatesUsingInstallAssistant"}) {
    SCOPED_TRACE(name);
    const ActionID action(std::to_string(number));
    EXPECT_EQ(describe(action), name);
    EXPECT_EQ(action.sortOrder(), number++);
    EXPECT_EQ(action.encode(), std::string("{\"") + name + "\":{}}");
    EXPECT_EQ(ActionID::decode(action.encode()), action);
    known.push_back(std::get<KnownAction>(action.value()));
  }
  EXPECT_THAT(kAllActions, ::testing::IsSupersetOf(known));
  EXPECT_TRUE(std::ranges::is_sorted(
      kAllActions, {}, [](KnownAction action) { return ActionID(action).sortOrder(); }));
  EXPECT_NE(ActionID(UndefinedAction{"2001"}), ActionID("2001"));
  EXPECT_EQ(ActionID("-7").sortOrder(), -7);
  for (const char* code : {"+2003", "02003"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(ActionID(code), UndefinedAction{code});
    EXPECT_EQ(ActionID(code).sortOrder(), 2003);
  }
  for (const char* code : {" 2001", "", "+", "+-5", "20G", "\"\\\n", "9223372036854775808"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(ActionID(code).sortOrder(), 999999);
    EXPECT_EQ(ActionID::decode(ActionID(code).encode()), UndefinedAction{code});
  }
}

TEST(ActionIDTest, DecodingCountsRecognisedMembersOnly) {
  const auto decoded = [](const char* json) -> std::string {
    try {
      return describe(ActionID::decode(json));
    } catch (const ActionIDDecodingError& error) {
      return error.what();
    }
  };
  EXPECT_EQ(decoded(R"({"x":[{"undefined":1}],"macOSDeferCheck":{"_0":[1]}})"), "macOSDeferCheck");
  EXPECT_EQ(decoded(R"({"undefined":{"a":{"_0":"no"},"_0":"300\u0031"}})"), "undefined(\"3001\")");
  for (const char* json :
       {"{}", R"({"MacOSDeferCheck":{}})", R"({"macOSDeferCheck":{},"userLoggedInCheck":{}})"}) {
    SCOPED_TRACE(json);
    EXPECT_EQ(decoded(json), "Invalid number of keys found, expected one.");
  }
  for (const char* json : {"[]", R"({"macOSDeferCheck":null})", R"({"undefined":{"_0":3001}})",
                           R"({"undefined":{"x":{"_0":"3001"}}})"}) {
    SCOPED_TRACE(json);
    EXPECT_THAT(decoded(json), ::testing::StartsWith("Expected an object "));
  }
  EXPECT_THAT(decoded("{"), ::testing::StartsWith("line 1, column 2"));
}

}  // namespace
}  // namespace vexlo
