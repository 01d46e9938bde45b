#include <gmock/gmock.h>

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentTool/ActionFiles/SourceExcerpt.h"
#include "AgentTool/ActionFiles/Spelling.h"
#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr const char* kFileInOrder = R"({
  "ProductServicePackActions": {"ExclusionPatchIDs": ["1"], "4": {}, "2": {"3": {
    "2001": ["0"], "2002": ["100"], "2003": [], "2004": [], "2005": ["+10000"]}}},
  "PatchActions": {"1": {"2006": ["14.5"], "2007": ["14.5", "macOS 14.5-23F79"]},
    "7": {"2008": ["com.apple.Safari"], "2010": ["/A b.app"]}}})";

constexpr const char* kFileWithWarnings = R"({
  "patchActions": {"a": 1, "a": 2}, "$schema": "x", "ExclusionPatchIDs": [],
  "ProductServicePackActions": {"ExclusionPatchIDs": ["5", "5"], "exclusionPatchID": {"0": {}}},
  "PatchActions": {
    " 1": {"2003": [], "2004": [], "2003": ["x"]}, "PatchActions": {},
    "2": {"3001": [], " 02005": [], "UserLogedInCheck": [], "2009": []},
    "3": {"2002": ["101"], "2005": ["-1", "2", "3"], "2006": ["14."], "2007": ["14"]},
    "4": {"2001": ["30%"], "2008": ["a.b", "", "a.b", "c,d", "C.app"], "2010": ["I.app"]},
    "6": {"2010": ["/I\u0007"], "2006": ["14.5"], "2007": ["14.6", ""], "2008": ["Safari"]},
    "exclusionPatchIDs": {}}})";

constexpr const char* kWarnings =
    R"j(file:2:3: warning: patchActions: is not read; did you mean "PatchActions"?
file:2:53: warning: ExclusionPatchIDs: is not read; "ExclusionPatchIDs" belongs in "ProductServicePackActions"
file:3:55: warning: ProductServicePackActions › ExclusionPatchIDs › [0]: patch "5" is exempt from the product's actions and has none of its own: nothing is run for it
file:3:60: warning: ProductServicePackActions › ExclusionPatchIDs › [1]: patch "5" is already in the list
file:3:66: warning: ProductServicePackActions › exclusionPatchID: is taken as a product; did you mean "ExclusionPatchIDs"?
file:5:5: warning: PatchActions ›  1: the ID " 1" has spaces around it, which are significant
file:5:36: warning: PatchActions ›  1 › 2003: occurs more than once in its object; the last one counts (first in line 5)
file:5:45: warning: PatchActions ›  1 › 2003 › [0]: userLoggedInCheck reads no argument: this one is not read
file:5:52: warning: PatchActions › PatchActions: is taken as a patch; "PatchActions" belongs in the document itself
file:6:11: warning: PatchActions › 2 › 3001: unknown action code; nothing is run for it and it counts as passed; did you mean "2001"?
file:6:23: warning: PatchActions › 2 ›  02005: unknown action code; nothing is run for it and it counts as passed; did you mean "2005"?
file:6:37: warning: PatchActions › 2 › UserLogedInCheck: unknown action code; nothing is run for it and it counts as passed; did you mean "2003"?
file:6:61: warning: PatchActions › 2 › 2009: applicationRunningNotifier does nothing and counts as passed
file:7:20: warning: PatchActions › 3 › 2002 › [0]: "101" is more than 100: a battery never reaches it
file:7:37: warning: PatchActions › 3 › 2005 › [0]: "-1" is negative: the check always passes
file:7:43: warning: PatchActions › 3 › 2005 › [1]: minimumDiskSpaceCheck reads only the minimum free space: this one and 1 more are not read
file:7:63: warning: PatchActions › 3 › 2006 › [0]: "14." is not a macOS version such as "14.5"
file:7:79: warning: PatchActions › 3 › 2007: installMacOSUpdates needs the macOS version and the update label: the action returns applyLater(inSufficientArguments) for every patch that it applies to
file:7:80: warning: PatchActions › 3 › 2007 › [0]: "14" differs from the version of macOSDeferCheck, "14."
file:8:20: warning: PatchActions › 4 › 2001 › [0]: "30%" is not an integer (an optional sign, then digits only): the action returns applyLater(inSufficientArguments) for every patch that it applies to
file:8:44: warning: PatchActions › 4 › 2008 › [1]: the bundle identifier is empty
file:8:48: warning: PatchActions › 4 › 2008 › [2]: "a.b" is already in the list
file:8:55: warning: PatchActions › 4 › 2008 › [3]: "c,d" is not a bundle identifier such as "com.apple.Safari"
file:8:62: warning: PatchActions › 4 › 2008 › [4]: "C.app" is an application's file; its bundle identifier is needed, such as "com.apple.Safari"
file:8:81: warning: PatchActions › 4 › 2010 › [0]: "I.app" is not an absolute path: it is relative to the agent's working directory
file:9:20: warning: PatchActions › 6 › 2010 › [0]: "/I\u0007" is not an application: its name doesn't end in ".app"
file:9:51: warning: PatchActions › 6 › 2007: installMacOSUpdates restarts the Mac before applicationRunningCheck (2008) runs
file:9:51: warning: PatchActions › 6 › 2007: installMacOSUpdates restarts the Mac before installMacOSUpdatesUsingInstallAssistant (2010) runs
file:9:60: warning: PatchActions › 6 › 2007 › [0]: "14.6" differs from the version of macOSDeferCheck, "14.5"
file:9:68: warning: PatchActions › 6 › 2007 › [1]: the softwareupdate label is empty
file:9:82: warning: PatchActions › 6 › 2008 › [0]: "Safari" is not a bundle identifier such as "com.apple.Safari"
file:10:5: warning: PatchActions › exclusionPatchIDs: is taken as a patch; "ExclusionPatchIDs" belongs in "ProductServicePackActions"
file can be used (1 product, 7 patches with actions, 2 exempt patches); 32 warnings.
)j";

constexpr const char* kLabels = R"j({"PatchActions": {
  "1": {"2006": ["26.3.1 (a)"], "2007": ["26.3.1 (a)", "macOS Tahoe 26.3.1 (a)-25D771280a"]},
  "2": {"2007": ["14.5", "macOS 14.5 Beta 2-23F5049f"]},
  "3": {"2007": ["14.5", "macOS Sonoma 14.5-23F79 "]},
  "4": {"2007": ["14.5", "* Label: macOS Sonoma 14.5-23F79"]},
  "5": {"2007": ["14.5", "macOS Sonoma 14.5"]},
  "6": {"2007": ["14.5", "23F79"]},
  "7": {"2007": ["14.5", "macOS Sonoma 14.6-23G80"]},
  "8": {"2007": ["14.5 (A)", "macOS Sonoma-23F"]},
  "9": {"2006": ["26.9"]}, "10": {"2006": ["27.1"]}}})j";

constexpr const char* kWhatIsWrongWithLabels =
    R"j(file:4:26: warning: PatchActions › 3 › 2007 › [1]: "macOS Sonoma 14.5-23F79 " has spaces around it, which no label has
file:5:26: warning: PatchActions › 4 › 2007 › [1]: "* Label: macOS Sonoma 14.5-23F79" is a line of softwareupdate's list: the label is what follows "Label: "
file:6:26: warning: PatchActions › 5 › 2007 › [1]: "macOS Sonoma 14.5" doesn't end in a hyphen and a build, such as "macOS Sonoma 14.5-23F79"
file:7:26: warning: PatchActions › 6 › 2007 › [1]: "23F79" is only a build: the label is needed, such as "macOS Sonoma 14.5-23F79"
file:8:26: warning: PatchActions › 7 › 2007 › [1]: "14.6" differs from the version of installMacOSUpdates, "14.5"
file:9:18: warning: PatchActions › 8 › 2007 › [0]: "14.5 (A)" is not a macOS version such as "14.5"
file:9:30: warning: PatchActions › 8 › 2007 › [1]: "macOS Sonoma-23F" doesn't end in a hyphen and a build, such as "macOS Sonoma 14.5-23F79"
file:10:44: warning: PatchActions › 10 › 2006 › [0]: "27.1": on macOS 27 and later mdmclient prints no list of updates, so that the check passes, or always applies later if mdmclient fails
file can be used (0 products, 10 patches with actions, 0 exempt patches); 8 warnings.
)j";

class CheckCommandTest : public AgentToolTest {};

TEST_F(CheckCommandTest, ReportsErrorsAndWarnings) {
  struct Row {
    std::string file;
    std::string options;
    std::string output;
    int status = 0;
  };
  for (const Row& row :
       {Row{kFileInOrder, "--strict",
            "file can be used (2 products, 2 patches with actions, 1 exempt patch); no "
            "warnings.\n"},
        Row{kFileWithWarnings, "", kWarnings},
        Row{"\xEF\xBB\xBF{\"PatchActions\":{},\n\"x\":1e99999999999}", "--strict",
            "file:1:1: warning: the file begins with a byte order mark, which some parsers "
            "reject\nfile:2:1: warning: x: is not read\nfile can be used (0 products, 0 patches "
            "with actions, 0 exempt patches); 2 warnings.\n",
            1},
        Row{"\xEF\xBB\xBF\xEF\xBB\xBF{\"PatchActions\":{}}", "",
            "vexlo-patch: file: line 1, column 1: expected text without a byte order mark, found "
            "one\nfile:1:1: error: expected text without a byte order mark, found one\n"
            "file:1:1: warning: the file begins with a byte order mark, which some parsers "
            "reject\n",
            65},
        Row{R"({"PatchActions":{"\uFEFF1":{}},"x":1e99999999999})", "",
            "file:1:18: warning: PatchActions › \\ufeff1: the ID \"\\ufeff1\" has invisible "
            "characters, which are significant\nfile:1:32: warning: x: is not read\n"
            "file can be used (0 products, 1 patch with actions, 0 exempt patches); 2 "
            "warnings.\n"},
        Row{R"({"x":1e99999999999 1e88888888888})", "",
            "vexlo-patch: file: line 1, column 20: expected \",\" or \"}\", found "
            "\"1e88888888888\"\nfile:1:20: error: expected \",\" or \"}\", found "
            "\"1e88888888888\"\n",
            65},
        Row{"{}", "--json",
            R"({"file":"file","usable":true,"errors":[],"warnings":[)"
            R"({"kind":"noActions","line":1,"column":1,"pointer":"","place":"","text":)"
            R"("has neither ProductServicePackActions nor PatchActions: no action applies to any )"
            R"(patch"}]})"
            "\n"},
        Row{R"({"PatchActions":null})", "",
            "file:1:17: warning: PatchActions: is null, which counts as missing: no action applies "
            "to any patch\nfile can be used (0 products, 0 patches with actions, 0 exempt "
            "patches); 1 warning.\n"},
        Row{R"({"PatchActions":{"1":{"2005":[30],"2003":"x"},"2":{"2":{}}, "3": 1, "3": {"3":[]}},)"
            "\n\"ProductServicePackActions\":{\"1\":{\"2005\":[]}}}",
            "--strict",
            "vexlo-patch: file: PatchActions › 1 › 2005 › [0]: expected a string, found a number; "
            "and 4 more errors\n"
            "file:1:31: error: PatchActions › 1 › 2005 › [0]: expected a string, found a number "
            "(strings are in double quotes, numbers too: \"30\", not 30)\n"
            "file:1:42: error: PatchActions › 1 › 2003: expected an array of strings, found a "
            "string (an action's arguments are in an array: [\"30\"], not \"30\")\n"
            "file:1:56: error: PatchActions › 2 › 2: expected an array of strings, found an object "
            "(products with service packs belong in \"ProductServicePackActions\")\n"
            "file:1:66: error: PatchActions › 3: expected an object, found a number\n"
            "file:1:69: warning: PatchActions › 3: occurs more than once in its object; the last "
            "one counts (first in line 1)\n"
            "file:1:75: warning: PatchActions › 3 › 3: unknown action code; nothing is run for it "
            "and it counts as passed\n"
            "file:2:42: error: ProductServicePackActions › 1 › 2005: expected an object, found an "
            "array (a product's actions are those of its service packs)\n",
            65},
        Row{kLabels, "", kWhatIsWrongWithLabels},
        Row{"{\"PatchActions\":{\n\t\"1\":{},}}", "",
            "vexlo-patch: file: line 2, column 8: expected no comma before \"}\", found a trailing "
            "comma\nfile:2:8: error: expected no comma before \"}\", found a trailing comma\n",
            65},
        Row{R"({"ProductServicePackActions":{"exclusionPatchIDs":["1"],"a/~":1}})",
            "--json 2> /dev/null",
            R"({"file":"file","usable":false,"errors":[)"
            R"({"kind":"wrongType","line":1,"column":51,)"
            R"("pointer":"/ProductServicePackActions/exclusionPatchIDs",)"
            R"("place":"ProductServicePackActions › exclusionPatchIDs",)"
            R"j("text":"expected an object, found an array (did you mean \"ExclusionPatchIDs\"? )j"
            R"j(Names are case-sensitive)"},)j"
            R"({"kind":"wrongType","line":1,"column":63,)"
            R"("pointer":"/ProductServicePackActions/a~1~0",)"
            R"("place":"ProductServicePackActions › a/~",)"
            R"("text":"expected an object, found a number"}],"warnings":[]})"
            "\n",
            65}}) {
    SCOPED_TRACE(row.file);
    root.write("file", row.file);
    const ToolRun run = shell("vexlo-patch check file " + row.options);
    EXPECT_EQ(run.errors + run.output, row.output);
    EXPECT_EQ(run.status, row.status);
  }
}

TEST_F(CheckCommandTest, ChecksSeveralFilesAndStandardInput) {
  root.write("good", kFileInOrder);
  root.write("empty", "{}");
  const ToolRun run = shell("vexlo-patch check --strict good empty missing - < empty");
  EXPECT_EQ(run.errors, "vexlo-patch: missing: No such file or directory\n");
  EXPECT_THAT(run.output, AllOf(StartsWith("good can be used"), HasSubstr("\nempty:1:1: warning: "),
                                HasSubstr("\n<stdin>:1:1: warning: has neither")));
  EXPECT_EQ(run.status, 65);
  EXPECT_EQ(shell("vexlo-patch check --strict empty good").status, 1);
  EXPECT_EQ(shell("vexlo-patch check --json missing").output,
            R"({"file":"missing","usable":false,"errors":[{"kind":"unreadable","line":null,)"
            R"("column":null,"pointer":null,"place":"","text":"No such file or directory"}],)"
            R"("warnings":[]})"
            "\n");
}

TEST_F(CheckCommandTest, HookRunsTheStrictCheck) {
  root.write("empty", "{}");
  EXPECT_EQ(shell("$(sed -n 's/^ *entry: //p' " VEXLO_DOCUMENTS "/../.pre-commit-hooks.yaml) empty")
                .status,
            1);
}

TEST(SourceExcerptTest, MarksThePositionInTheLine) {
  const std::string longLine = std::string(300, 'x') + "\"é\"" + std::string(300, 'y');
  EXPECT_EQ(agent_tool::sourceExcerpt("{\n\t\"é\": [30],\r\n", 10, 2, 80),
            "   \"é\": [30],\n         ^~\n");
  EXPECT_EQ(agent_tool::sourceExcerpt(longLine, 300, 4, 40), "  " + std::string(18, 'x') + "\"é\"" +
                                                                 std::string(15, 'y') + "\n" +
                                                                 std::string(20, ' ') + "^~~\n");
  EXPECT_EQ(agent_tool::sourceExcerpt("[", 1, 0, 80), "  [\n   ^\n");
}

TEST(ClosestWordTest, SuggestsWordsForTypingErrorsOnly) {
  constexpr std::array<std::string_view, 2> kWords{"PatchActions", "abc"};
  for (const auto& [written, meant] :
       std::vector<std::pair<std::string_view, std::string_view>>{{"patchactions", "PatchActions"},
                                                                  {"PatchAction", "PatchActions"},
                                                                  {"PatchAcitons", "PatchActions"},
                                                                  {"PtachActoins", "PatchActions"},
                                                                  {"PatchAct", ""},
                                                                  {"ab", ""},
                                                                  {"ABC", "abc"},
                                                                  {"", ""}}) {
    EXPECT_EQ(agent_tool::closestWord(written, kWords), meant) << written;
  }
}

TEST_F(CheckCommandTest, LackOfMemoryHasItsOwnStatus) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer needs more memory than the limit";
#endif
  const ToolRun run =
      shell("truncate -s 400M big.json; ulimit -v 200000; vexlo-patch check big.json");
  EXPECT_EQ(run.status, 71);
  EXPECT_EQ(run.errors, "vexlo-patch: not enough memory\n");
}

}  // namespace
