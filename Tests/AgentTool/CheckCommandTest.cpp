#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct OddityCase {
  const char* name;
  const char* json;
  const char* lines;  // all of them
};

class CheckCommandTest : public AgentToolTest {};
class OddFileTest : public AgentToolTest, public testing::WithParamInterface<OddityCase> {};

TEST_P(OddFileTest, HasALineForEachOddThing) {
  const ToolRun run = tool({"check", root.write("file", GetParam().json)});
  const std::size_t summary = run.output.rfind('\n', run.output.size() - 2) + 1;  // npos + 1 is 0
  EXPECT_EQ(run.output.substr(0, summary), GetParam().lines);
  EXPECT_THAT(run.output.substr(summary), HasSubstr("/file can be used ("));
  EXPECT_THAT(run.errors, IsEmpty());
  EXPECT_EQ(run.status, 0);
}

#define LATER "the action answers applyLater(inSufficientArguments), every time\n"

INSTANTIATE_TEST_SUITE_P(
    Files, OddFileTest,
    testing::Values(
        OddityCase{
            "Nothing",
            R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1"],"2":{"3":{"2001":["0"],"2002":["100"],"2003":[],"2004":[],"2005":["+10000"]}}},"PatchActions":{"1":{"2006":["14"],"2007":["14.5.1","macOS 14.5.1-23E224"],"2008":["com.apple.Safari"],"2010":["/A b.app"]}}})",
            ""},
        OddityCase{
            "Codes", R"({"PatchActions":{"1":{"3001":[]," 02005":[],"UserLoggedInCheck":[]}}})",
            "PatchActions › 1 › 3001: unknown action code; nothing is run for it and it counts as "
            "passed\n"
            "PatchActions › 1 ›  02005: unknown action code; nothing is run for it and it counts "
            "as passed; did you mean \"2005\"?\n"
            "PatchActions › 1 › UserLoggedInCheck: unknown action code; nothing is run for it and "
            "it counts as passed; did you mean \"2003\"?\n"},
        OddityCase{
            "Integers",
            R"({"PatchActions":{"1":{"2001":["30%"],"2002":["101"],"2005":["-1"]},"4":{"2005":["20000000000"],"2001":[]}}})",
            "PatchActions › 1 › 2001 › [0]: \"30%\" is no integer (an optional sign, then digits "
            "only): " LATER
            "PatchActions › 1 › 2002 › [0]: \"101\" is more than 100: a battery never reaches it\n"
            "PatchActions › 1 › 2005 › [0]: \"-1\" is negative: the check always passes\n"
            "PatchActions › 4 › 2005 › [0]: \"20000000000\" is more than 10000: the argument is "
            "in gigabytes\n"
            "PatchActions › 4 › 2001: siliconBatteryPercentageCheck needs the minimum battery "
            "level in percent: " LATER},
        OddityCase{
            "ArgumentsThatAreNotRead",
            R"({"PatchActions":{"1":{"2003":["x"],"2005":["1","2","3"],"2009":[]}}})",
            "PatchActions › 1 › 2003 › [0]: userLoggedInCheck reads no argument: this one is not "
            "read\n"
            "PatchActions › 1 › 2005 › [1]: minimumDiskSpaceCheck reads only the minimum free "
            "disk space in gigabytes: this one and 1 more are not read\n"
            "PatchActions › 1 › 2009: applicationRunningNotifier does nothing and counts as "
            "passed\n"},
        OddityCase{
            "Texts",
            R"({"PatchActions":{"1":{"2006":["Sonoma"],"2007":["14."],"2008":["a.b","","a.b","c,d"],"2010":["I.app"]},"4":{"2010":["/I\u0007"]}}})",
            "PatchActions › 1 › 2006 › [0]: \"Sonoma\" is no macOS version such as \"14.5\"\n"
            "PatchActions › 1 › 2007: installMacOSUpdates needs the macOS version and the "
            "softwareupdate label: " LATER
            "PatchActions › 1 › 2007 › [0]: \"14.\" is no macOS version such as \"14.5\"\n"
            "PatchActions › 1 › 2008 › [1]: the bundle identifier is empty\n"
            "PatchActions › 1 › 2008 › [2]: \"a.b\" stands in the list already\n"
            "PatchActions › 1 › 2008 › [3]: \"c,d\" is no bundle identifier such as "
            "\"com.apple.Safari\"\n"
            "PatchActions › 1 › 2010 › [0]: \"I.app\" is no absolute path: it is taken from "
            "wherever the agent was started\n"
            "PatchActions › 4 › 2010 › [0]: \"/I\\u0007\" is no application: its name doesn't end "
            "in \".app\"\n"},
        OddityCase{
            "Members",
            R"({"patchActions":{"a":1,"a":2},"PatchActions":{"1":{}},"PatchActions":{" 1":{"2003":[],"2004":[],"2003":[]}}})",
            "patchActions: is not read; did you mean \"PatchActions\"?\n"
            "PatchActions: occurs more than once in its object; the last one counts\n"
            "PatchActions ›  1 › 2003: occurs more than once in its object; the last one counts\n"
            "PatchActions ›  1: the ID \" 1\" has blanks around it, which count\n"},
        OddityCase{
            "Exemptions",
            R"({"ProductServicePackActions":{"exclusionPatchIDs":{},"ExclusionPatchIDs":["1","5","1"]},"PatchActions":{"1":{}}})",
            "ProductServicePackActions › ExclusionPatchIDs › [0]: patch \"1\" is exempt from the "
            "product's actions and has none of its own: nothing is run for it\n"
            "ProductServicePackActions › ExclusionPatchIDs › [1]: patch \"5\" is exempt from the "
            "product's actions and has none of its own: nothing is run for it\n"
            "ProductServicePackActions › ExclusionPatchIDs › [2]: patch \"1\" stands in the list "
            "already\n"
            "ProductServicePackActions › exclusionPatchIDs: is taken as a product; did you mean "
            "\"ExclusionPatchIDs\"?\n"},
        OddityCase{"NeitherMember", "{}",
                   "the document: has neither ProductServicePackActions nor PatchActions: no "
                   "action applies to any patch\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(CheckCommandTest, TheSummaryCountsWhatIsThere) {
  const std::string file = root.write(
      "file",
      R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1"],"2":{},"3":{}},"PatchActions":{"1":{"9":[]}}})");
  EXPECT_THAT(tool({"check", file}).output,
              HasSubstr("\n" + file +
                        " can be used (2 products, 1 patch with actions, 1 exempt patch); 1 thing "
                        "looks odd.\n"));
}

TEST_F(CheckCommandTest, AsJSONOddThingsHaveAKind) {
  const std::string file = root.write("file", R"({"PatchActions":{"1":{"2005":["\u0007"]}}})");
  EXPECT_EQ(tool({"check", file, "--json"}).output,
            R"({"file":")" + file +
                R"(","usable":true,"error":null,"oddities":[{"kind":"unusableArgument",)"
                R"("place":"PatchActions › 1 › 2005 › [0]","text":"\"\\u0007\" is no integer (an )"
                R"(optional sign, then digits only): the action answers )"
                R"(applyLater(inSufficientArguments), every time"}]})"
                "\n");
}

TEST_F(CheckCommandTest, AnUnusableFileIsToldInBothFormsWithWhatWasMeant) {
  const std::string file =
      root.write("file", R"({"ProductServicePackActions":{"exclusionPatchIDs":["1"]}})");
  const ToolRun run = tool({"check", file, "--json"});
  const std::string message =
      file +
      ": ProductServicePackActions › exclusionPatchIDs: expected an object, found an array (did "
      "you mean \\\"ExclusionPatchIDs\\\"? Upper and lower case count)";
  EXPECT_EQ(run.output,
            R"({"file":")" + file +
                R"(","usable":false,"error":{"place":"ProductServicePackActions › )"
                R"(exclusionPatchIDs","expected":"an object","found":"an array","message":")" +
                message +
                R"("},"oddities":[]})"
                "\n");
  EXPECT_THAT(run.errors, HasSubstr("(did you mean \"ExclusionPatchIDs\"? Upper and lower"));
  EXPECT_EQ(run.status, 65);

  root.write("file", R"({"PatchActions":{"1":{"2005":[30]}}})");
  EXPECT_EQ(tool({"check", file}).errors,
            "vexlo-patch: " + file +
                ": PatchActions › 1 › 2005 › [0]: expected a string, found a number (arguments "
                "are texts, numbers too: \"30\", not 30)\n");
}

}  // namespace
