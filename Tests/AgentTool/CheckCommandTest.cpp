#include <gmock/gmock.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

namespace {

constexpr const char* kFileInOrder = R"({
  "ProductServicePackActions": {"ExclusionPatchIDs": ["1"], "4": {}, "2": {"3": {
    "2001": ["0"], "2002": ["100"], "2003": [], "2004": [], "2005": ["+10000"]}}},
  "PatchActions": {"1": {"2006": ["14"], "2007": ["14.5.1", "macOS 14.5.1-23E224"],
    "2008": ["com.apple.Safari"], "2010": ["/A b.app"]}}})";

constexpr const char* kOddFile = R"({
  "patchActions": {"a": 1, "a": 2},
  "ProductServicePackActions": {"ExclusionPatchIDs": ["5", "5"], "exclusionPatchIDs": {}},
  "PatchActions": {
    " 1": {"2003": [], "2004": [], "2003": ["x"]},
    "2": {"3001": [], " 02005": [], "UserLoggedInCheck": [], "2009": []},
    "3": {"2002": ["101"], "2005": ["-1", "2", "3"], "2006": ["14."], "2007": ["14"]},
    "4": {"2001": ["30%"], "2008": ["a.b", "", "a.b", "c,d"], "2010": ["I.app"]},
    "6": {"2010": ["/I\u0007"]}}})";

constexpr const char* kWhatIsOdd =
    R"(patchActions: is not read; did you mean "PatchActions"?
PatchActions ›  1 › 2003: occurs more than once in its object; the last one counts
ProductServicePackActions › ExclusionPatchIDs › [0]: patch "5" is exempt from the product's actions and has none of its own: nothing is run for it
ProductServicePackActions › ExclusionPatchIDs › [1]: patch "5" stands in the list already
ProductServicePackActions › exclusionPatchIDs: is taken as a product; did you mean "ExclusionPatchIDs"?
PatchActions ›  1: the ID " 1" has spaces around it, which are significant
PatchActions ›  1 › 2003 › [0]: userLoggedInCheck reads no argument: this one is not read
PatchActions › 2 › 3001: unknown action code; nothing is run for it and it counts as passed
PatchActions › 2 ›  02005: unknown action code; nothing is run for it and it counts as passed; did you mean "2005"?
PatchActions › 2 › UserLoggedInCheck: unknown action code; nothing is run for it and it counts as passed; did you mean "2003"?
PatchActions › 2 › 2009: applicationRunningNotifier does nothing and counts as passed
PatchActions › 3 › 2002 › [0]: "101" is more than 100: a battery never reaches it
PatchActions › 3 › 2005 › [1]: minimumDiskSpaceCheck reads only the minimum free disk space in gigabytes: this one and 1 more are not read
PatchActions › 3 › 2005 › [0]: "-1" is negative: the check always passes
PatchActions › 3 › 2006 › [0]: "14." is no macOS version such as "14.5"
PatchActions › 3 › 2007: installMacOSUpdates needs the macOS version and the softwareupdate label: the action answers applyLater(inSufficientArguments) wherever it applies
PatchActions › 4 › 2001 › [0]: "30%" is no integer (an optional sign, then digits only): the action answers applyLater(inSufficientArguments) wherever it applies
PatchActions › 4 › 2008 › [1]: the bundle identifier is empty
PatchActions › 4 › 2008 › [2]: "a.b" stands in the list already
PatchActions › 4 › 2008 › [3]: "c,d" is no bundle identifier such as "com.apple.Safari"
PatchActions › 4 › 2010 › [0]: "I.app" is no absolute path: it is taken from wherever the agent was started
PatchActions › 6 › 2010 › [0]: "/I\u0007" is no application: its name doesn't end in ".app"
file can be used (1 product, 5 patches with actions, 2 exempt patches); 22 things look odd.
)";

class CheckCommandTest : public AgentToolTest {};

TEST_F(CheckCommandTest, SaysWhatIsWrongAndWhatLooksOdd) {
  struct Row {
    std::string file;
    std::string options;
    std::string output;
    int status = 0;
  };
  for (const Row& row :
       {Row{kFileInOrder, "",
            "file can be used (2 products, 1 patch with actions, 1 exempt patch); nothing looks "
            "odd.\n"},
        Row{kOddFile, "", kWhatIsOdd},
        Row{"\xEF\xBB\xBF{\"PatchActions\":{},\"x\":1e99999999999}", "",
            "x: is not read\nthe document: the text begins with a byte order mark, which some "
            "readers refuse\nfile can be used (0 products, 0 patches with actions, 0 exempt "
            "patches); 2 things look odd.\n"},
        Row{"{}", "--json",
            R"({"file":"file","usable":true,"error":null,"oddities":[)"
            R"({"kind":"ignoredMember","place":"","text":"has neither ProductServicePackActions )"
            R"(nor PatchActions: no action applies to any patch"}]})"
            "\n"},
        Row{R"({"PatchActions":{"1":{"2005":[30]}}})", "",
            "vexlo-patch: file: PatchActions › 1 › 2005 › [0]: expected a string, found a number "
            "(strings are in double quotes, numbers too: \"30\", not 30)\n",
            65},
        Row{R"({"ProductServicePackActions":{"exclusionPatchIDs":["1"]}})", "--json 2> /dev/null",
            R"({"file":"file","usable":false,"error":{)"
            R"("place":"ProductServicePackActions › exclusionPatchIDs",)"
            R"("expected":"an object","found":"an array","message":"file: )"
            R"(ProductServicePackActions › exclusionPatchIDs: expected an object, found an array )"
            R"j((did you mean \"ExclusionPatchIDs\"? Upper and lower case count)"},)j"
            R"("oddities":[]})"
            "\n",
            65}}) {
    root.write("file", row.file);
    const ToolRun run = shell("vexlo-patch check file " + row.options);
    EXPECT_EQ(run.errors + run.output, row.output);
    EXPECT_EQ(run.status, row.status);
  }
}

}  // namespace
