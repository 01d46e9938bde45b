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

using ::testing::HasSubstr;
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

/// What went wrong with `json`, after the file's name.
std::string problemOf(std::string json) {
  try {
    (void)PatchActionGroup::decode(std::move(json), "actions.json");
  } catch (const FileCodec::DecodingError& error) {
    EXPECT_THAT(error.what(), StartsWith("actions.json: "));
    return std::string(error.what()).substr(std::string("actions.json: ").size());
  }
  return "decoded";
}

TEST(PatchActionGroupTest, DecodesProductsPatchesAndExemptions) {
  const PatchActionGroup group =
      PatchActionGroup::decode(std::string(kExamplePatchActions), "actions.json");
  const auto products = group.productServicePackActions();
  ASSERT_TRUE(products);
  EXPECT_EQ(listText(products->exclusionPatchIDs()), R"(["310872"])");
  EXPECT_TRUE(products->isExempt("310872"));
  EXPECT_FALSE(products->isExempt("31087"));
  EXPECT_EQ(actionsText(products->actions("1201", "2301")),
            R"(2001["30"] 2002["30"] 2003[] 2005["20"])");
  EXPECT_EQ(actionsText(products->actions("1201", "2302")), "");
  EXPECT_EQ(actionsText(products->actions("1201", "9999")), "none");
  EXPECT_EQ(actionsText(products->actions("ExclusionPatchIDs", "2301")), "none");
  const auto patches = group.patchActions();
  ASSERT_TRUE(patches);
  EXPECT_EQ(actionsText(patches->actions("310872")),
            R"(2005["25"] 2008["com.apple.Safari", "com.apple.Preview"])");
  EXPECT_EQ(actionsText(patches->actions("310990")), R"(2005["40"] 3001["x"])");
  EXPECT_EQ(actionsText(patches->actions("")), "none");
}

TEST(PatchActionGroupTest, MissingNullAndEmptyMembers) {
  const auto presence = [](const char* json) {
    const PatchActionGroup group = PatchActionGroup::decode(json, "f");
    return std::pair(group.productServicePackActions().has_value(),
                     group.patchActions().has_value());
  };
  EXPECT_EQ(presence("{}"), std::pair(false, false));
  EXPECT_EQ(presence(R"({"PatchActions":null,"ProductServicePackActions":null})"),
            std::pair(false, false));
  EXPECT_EQ(presence(R"({"patchActions":[[]],"other":{"a":[null,1,true,"x"]},"PatchActions":{}})"),
            std::pair(false, true));
  EXPECT_EQ(presence(R"({"ProductServicePackActions":{}})"), std::pair(true, false));

  const PatchActionGroup group =
      PatchActionGroup::decode(R"({"ProductServicePackActions":{"p":{}}})", "f");
  EXPECT_EQ(group.productServicePackActions()->products().size(), 1U);
  EXPECT_TRUE(group.productServicePackActions()->exclusionPatchIDs().empty());
}

TEST(PatchActionGroupTest, OfMembersWithEqualNamesTheLastOneCounts) {
  const PatchActionGroup group = PatchActionGroup::decode(
      R"({"PatchActions":{"old":{"2001":[]}},
          "ProductServicePackActions":{
            "p":{"s":{"2001":["1"]}}, "ExclusionPatchIDs":["a"],
            "q":{"s":{"2005":["7"]}},
            "p":{"s":{"2002":["2"]}, "s":{"2003":["3"]}}, "ExclusionPatchIDs":["b"]},
          "PatchActions":{"x":{"2005":["1"],"2001":["9"],"2005":["2"],"2\u003005":["3"]},
                          "y":{}, "y":{"2004":[]}}})",
      "f");
  const auto products = *group.productServicePackActions();
  EXPECT_EQ(actionsText(products.actions("p", "s")), R"(2003["3"])");
  EXPECT_EQ(actionsText(products.actions("q", "s")), R"(2005["7"])");
  EXPECT_EQ(products.products().size(), 2U);
  EXPECT_FALSE(products.isExempt("a"));
  EXPECT_TRUE(products.isExempt("b"));
  const auto patches = *group.patchActions();
  EXPECT_EQ(actionsText(patches.actions("old")), "none");
  EXPECT_EQ(actionsText(patches.actions("x")), R"(2001["9"] 2005["3"])");
  EXPECT_EQ(actionsText(patches.actions("y")), "2004[]");
  EXPECT_EQ(patches.patches().size(), 2U);
}

TEST(PatchActionGroupTest, EscapedTextsAreDecodedEverywhere) {
  const PatchActionGroup group = PatchActionGroup::decode(
      R"({"Patch\u0041ctions":{"\u00e9":{"200\u0035":["a\"b", "\ud83d\ude00", "", "plain"]}}})",
      "f");
  EXPECT_EQ(actionsText(group.patchActions()->actions("é")), R"(2005["a"b", "😀", "", "plain"])");
}

TEST(PatchActionGroupTest, ManyNamesStayApart) {
  std::string json = R"({"ProductServicePackActions":{)";
  for (int product = 0; product < 40; ++product) {
    json += (product == 0 ? "\"" : ",\"") + std::to_string(product) + "\":{";
    for (int pack = 0; pack < 50; ++pack) {
      json += (pack == 0 ? "\"" : ",\"") + std::to_string(pack) + "\":{\"2005\":[\"" +
              std::to_string(product * 1000 + pack) + "\"]}";
    }
    json += '}';
  }
  const PatchActionGroup group = PatchActionGroup::decode(json + "}}", "f");
  const auto products = *group.productServicePackActions();
  for (int product = 0; product < 40; ++product) {
    for (int pack = 0; pack < 50; ++pack) {
      EXPECT_EQ(actionsText(products.actions(std::to_string(product), std::to_string(pack))),
                "2005[\"" + std::to_string(product * 1000 + pack) + "\"]");
    }
    EXPECT_EQ(actionsText(products.actions(std::to_string(product), "50")), "none");
  }
}

struct ProblemCase {
  const char* name;
  const char* json;
  const char* problem;
};

class WrongTypeTest : public ::testing::TestWithParam<ProblemCase> {};

TEST_P(WrongTypeTest, NamesPlaceExpectedAndFound) {
  EXPECT_EQ(problemOf(GetParam().json), GetParam().problem);
}

INSTANTIATE_TEST_SUITE_P(
    EveryDepth, WrongTypeTest,
    ::testing::Values(
        ProblemCase{"Root", "[]", "expected an object, found an array"},
        ProblemCase{"RootText", "\"x\"", "expected an object, found a string"},
        ProblemCase{"RootNull", "null", "expected an object, found null"},
        ProblemCase{"Products", R"({"ProductServicePackActions":[]})",
                    "ProductServicePackActions: expected an object or null, found an array"},
        ProblemCase{"Patches", R"({"PatchActions":true})",
                    "PatchActions: expected an object or null, found a Boolean"},
        ProblemCase{"ExclusionsNull", R"({"ProductServicePackActions":{"ExclusionPatchIDs":null}})",
                    "ProductServicePackActions › ExclusionPatchIDs: expected an array of strings, "
                    "found null"},
        ProblemCase{"ExclusionNumber",
                    R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1",310872]}})",
                    "ProductServicePackActions › ExclusionPatchIDs › [1]: expected a string, found "
                    "a number"},
        ProblemCase{"ExclusionsInOtherCase",
                    R"({"ProductServicePackActions":{"exclusionPatchIDs":["1"]}})",
                    "ProductServicePackActions › exclusionPatchIDs: expected an object, found an "
                    "array"},
        ProblemCase{"Product", R"({"ProductServicePackActions":{"1201":null}})",
                    "ProductServicePackActions › 1201: expected an object, found null"},
        ProblemCase{"ServicePack", R"({"ProductServicePackActions":{"1201":{"2301":[]}}})",
                    "ProductServicePackActions › 1201 › 2301: expected an object, found an array"},
        ProblemCase{"Argument", R"({"ProductServicePackActions":{"1201":{"2301":{"2005":[20]}}}})",
                    "ProductServicePackActions › 1201 › 2301 › 2005 › [0]: expected a string, "
                    "found a number"},
        ProblemCase{"Patch", R"({"PatchActions":{"310872":"x"}})",
                    "PatchActions › 310872: expected an object, found a string"},
        ProblemCase{"Action", R"({"PatchActions":{"310872":{"2005":"25"}}})",
                    "PatchActions › 310872 › 2005: expected an array of strings, found a string"},
        ProblemCase{"ArgumentNull", R"({"PatchActions":{"310872":{"2005":["a",null]}}})",
                    "PatchActions › 310872 › 2005 › [1]: expected a string, found null"},
        ProblemCase{"NestedList", R"({"PatchActions":{"310872":{"2005":[["25"]]}}})",
                    "PatchActions › 310872 › 2005 › [0]: expected a string, found an array"},
        ProblemCase{"ObjectAsArgument", R"({"PatchActions":{"310872":{"2005":["a",{}]}}})",
                    "PatchActions › 310872 › 2005 › [1]: expected a string, found an object"},
        ProblemCase{"ReplacedLater", R"({"PatchActions":[],"PatchActions":{}})",
                    "PatchActions: expected an object or null, found an array"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PatchActionGroupTest, EveryTruncationIsASyntaxErrorWithItsPlace) {
  const std::string whole(kExamplePatchActions);
  const std::size_t end = whole.rfind('}');
  for (std::size_t length = 0; length <= end; ++length) {
    EXPECT_THAT(problemOf(whole.substr(0, length)), StartsWith("line ")) << length;
  }
  EXPECT_EQ(problemOf(whole), "decoded");
}

TEST(PatchActionGroupTest, WhatIsNoJSONIsNamedWithLineAndColumn) {
  EXPECT_THAT(problemOf("\xEF\xBB\xBF{}"), HasSubstr("line 1, column 1"));
  EXPECT_THAT(problemOf("{\n  \"PatchActions\": {},\n  x }"), StartsWith("line 3, column 3"));
  EXPECT_THAT(problemOf("{} {}"), StartsWith("line 1, column 4"));
  EXPECT_THAT(problemOf("{\"PatchActions\":{\"\xC3\x28\":{}}}"), StartsWith("line 1, column "));
  EXPECT_THAT(problemOf(R"({"a":"\ud800"})"), StartsWith("line 1, column "));
  EXPECT_THAT(problemOf(std::string(100'000, '[')), HasSubstr("expected"));
  EXPECT_THAT(problemOf("{\"a\":" + std::string(100'000, '[')), HasSubstr("expected"));
  EXPECT_THAT(problemOf("{} // no comments"), StartsWith("line 1, column 4"));
}

}  // namespace
}  // namespace vexlo
