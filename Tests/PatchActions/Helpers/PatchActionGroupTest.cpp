#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionGroup.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "Tests/Fakes/ExamplePatchActions.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

using ::testing::StartsWith;

/// `2005["25"] 2008["a", "b"]`, or "none" for an absent map.
std::string actionsText(const std::optional<ActionMap>& actions) {
  if (!actions) {
    return "none";
  }
  std::string out;
  for (const ActionEntry& action : *actions) {
    out +=
        std::string(out.empty() ? "" : " ") + std::string(action.code) + listText(action.arguments);
  }
  return out;
}

/// The error for `json`, without the file name.
std::string problemOf(std::string json) {
  try {
    (void)PatchActionGroup::decode(std::move(json), "actions.json");
  } catch (const FileCodec::DecodingError& error) {
    EXPECT_THAT(error.what(), StartsWith("actions.json: "));
    return std::string(error.what()).substr(std::string("actions.json: ").size());
  }
  return "decoded";
}

TEST(PatchActionGroupTest, AcceptsMissingNullAndEmptyMembers) {
  for (const auto& [json, hasPatches] :
       {std::pair(R"({"PatchActions":null,"ProductServicePackActions":null})", false),
        {R"({"PatchActions":{"1":{"2005":[]}},"PatchActions":null})", false},
        {R"({"ProductServicePackActions":{"1":{}},"ProductServicePackActions":null})", false},
        {R"({"patchActions":[[]],"other":{"a":[null,1,true,"x"]},"PatchActions":{}})", true}}) {
    const PatchActionGroup group = PatchActionGroup::decode(json, "f");
    EXPECT_FALSE(group.productServicePackActions()) << json;
    EXPECT_EQ(group.patchActions().has_value(), hasPatches) << json;
  }
}

TEST(PatchActionGroupTest, LastOfDuplicateMembersWins) {
  const PatchActionGroup group = PatchActionGroup::decode(
      R"({"PatchActions":{"old":{"2001":[]}}, "ProductServicePackActions":{"old":{"s":{"2001":[]}}},
          "ProductServicePackActions":{
            "p":{"s":{"2001":["1"]}}, "ExclusionPatchIDs":["a"],
            "q":{"s":{"2005":["7"]}},
            "p":{"s":{"2002":["2"]}, "s":{"2003":["3"]}}, "ExclusionPatchIDs":["b"]},
          "PatchActions":{"x":{"2005":["1","1b"],"2001":["9"],"2005":[],"2\u003005":["3","4"]},
                          "y":{}, "y":{}, "z":{"2005":["1"],"2005":["2"]}}})",
      "f");
  const auto products = *group.productServicePackActions();
  EXPECT_EQ(actionsText(products.actions("p", "s")), R"(2003["3"])");
  EXPECT_EQ(actionsText(products.actions("q", "s")), R"(2005["7"])");
  EXPECT_EQ(actionsText(products.actions("old", "s")), "none");
  EXPECT_FALSE(products.isExempt("a"));
  EXPECT_TRUE(products.isExempt("b"));
  const auto patches = *group.patchActions();
  EXPECT_EQ(actionsText(patches.actions("old")), "none");
  EXPECT_EQ(actionsText(patches.actions("x")), R"(2001["9"] 2005["3", "4"])");
  EXPECT_EQ(actionsText(patches.actions("z")), R"(2005["2"])");
  EXPECT_EQ(patches.patches().size(), 3U);
}

TEST(PatchActionGroupTest, DecodesEscapesEverywhere) {
  const PatchActionGroup group = PatchActionGroup::decode(
      R"({"Patch\u0041ctions":{"\u00e9":{"200\u0035":["a\"b", "\ud83d\ude00", "", "\b\f\n\r\t\/\\"]}}})",
      "f");
  EXPECT_EQ(actionsText(group.patchActions()->actions("é")),
            "2005[\"a\"b\", \"😀\", \"\", \"\b\f\n\r\t/\\\"]");
  const PatchActionGroup marked = PatchActionGroup::decode(
      "\xEF\xBB\xBF"
      R"({"PatchActions":{"1":{"2005":["","b"]}}})",
      "f");
  EXPECT_EQ(actionsText(marked.patchActions()->actions("1")), R"(2005["", "b"])");
}

TEST(PatchActionGroupTest, LooksUpManyNames) {
  std::string json = R"({"PatchActions":{"x":{})";
  for (int patch = 0; patch < 2000; ++patch) {
    const std::string name = std::to_string(patch);
    json += ",\"" + name + "\":{\"2005\":[\"" + name + "\"]}";
  }
  const PatchActionGroup group = PatchActionGroup::decode(json + "}}", "f");
  for (int patch = 0; patch < 2000; ++patch) {
    const std::string name = std::to_string(patch);
    EXPECT_EQ(actionsText(group.patchActions()->actions(name)), "2005[\"" + name + "\"]");
  }
  EXPECT_EQ(actionsText(group.patchActions()->actions("2000")), "none");
}

TEST(PatchActionGroupTest, WrongTypeErrorHasPlaceExpectedAndFound) {
  const std::string products = R"({"ProductServicePackActions":)";
  const std::string patch = R"({"PatchActions":{"310872":)";
  const std::string strings = "expected an array of strings, found ";
  for (const auto& [json, problem] : std::vector<std::pair<std::string, std::string>>{
           {"[]", "expected an object, found an array"},
           {R"({"PatchActions":[],"PatchActions":{}})",
            "PatchActions: expected an object or null, found an array"},
           {products + R"({"ExclusionPatchIDs":null}})",
            "ProductServicePackActions › ExclusionPatchIDs: " + strings + "null"},
           {products + R"({"ExclusionPatchIDs":["1",310872]}})",
            "ProductServicePackActions › ExclusionPatchIDs › [1]: expected a string, found a "
            "number"},
           {products + R"({"1201":{"2301":true}}})",
            "ProductServicePackActions › 1201 › 2301: expected an object, found a Boolean"},
           {products + R"({"1201":null}})",
            "ProductServicePackActions › 1201: expected an object, found null"},
           {patch + "null}}", "PatchActions › 310872: expected an object, found null"},
           {patch + R"({"2005":"25"}}})", "PatchActions › 310872 › 2005: " + strings + "a string"},
           {patch + R"({"2005":["a",{}]}}})",
            "PatchActions › 310872 › 2005 › [1]: expected a string, found an object"}}) {
    SCOPED_TRACE(json);
    EXPECT_EQ(problemOf(json), problem);
  }
}

TEST(PatchActionGroupTest, EveryTruncationIsASyntaxErrorWithPosition) {
  const std::string whole(kExamplePatchActions);
  const std::size_t end = whole.rfind('}');
  for (std::size_t length = 0; length <= end; ++length) {
    EXPECT_THAT(problemOf(whole.substr(0, length)), StartsWith("line ")) << length;
  }
  EXPECT_EQ(problemOf(whole), "decoded");
  EXPECT_THAT(problemOf("{\n  \"PatchActions\": {},\n  x }"), StartsWith("line 3, column 3"));
}

}  // namespace
}  // namespace vexlo
