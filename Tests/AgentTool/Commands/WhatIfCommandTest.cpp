#include <gmock/gmock.h>

#include <string>

#include "AgentTool/Fleet/FleetSummary.h"
#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

class WhatIfCommandTest : public AgentToolTest {
 protected:
  WhatIfCommandTest() {
    root.write("actions", R"({"PatchActions": {"1": {"2001": ["30"], "2005": ["20"]}}})");
    root.write("before", R"({"PatchActions": {"1": {"2001": ["30"], "2005": ["10"]}}})");
    root.write("a", machine(R"("name":"mac-a","powerSource":{"kind":"battery","percentage":12})"));
    root.write("b", machine(R"("freeDiskSpace":15000000000)") + "\n" +
                        machine(R"("macOSVersion":"14.5","freeDiskSpace":64000000000)"));
  }

  static std::string machine(const std::string& more) {
    return R"({"version":1,"appleSilicon":true,"macOSMajorVersion":14,"consoleUser":"alice",)" +
           more + "}\n";
  }
};

TEST_F(WhatIfCommandTest, PrintsOneAnswerPerLine) {
  const ToolRun run = shell("vexlo-patch what-if actions $patch a - < b");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(
      run.output,
      R"({"machine":"mac-a","macOS":null,"processor":"apple-silicon",)"
      R"("update":"unknown","outcome":"applyLater",)"
      R"("code":"2001","action":"siliconBatteryPercentageCheck","reason":"inSufficientBattery",)"
      R"("next":null,"measured":[{"kind":"battery","source":"battery","percentage":12,)"
      R"("neededPercentage":30}],"acted":[]})"
      "\n"
      R"({"machine":"standard input:1","macOS":null,"processor":"apple-silicon",)"
      R"("update":"unknown","outcome":"applyLater","code":"2005","action":"minimumDiskSpaceCheck",)"
      R"("reason":"inSufficientDiskSpaceForSoftwareUpdate","next":null,"measured":[)"
      R"({"kind":"diskSpace","freeBytes":15000000000,"neededBytes":20000000000}],"acted":[]})"
      "\n"
      R"({"machine":"standard input:3","macOS":"14.5","processor":"apple-silicon",)"
      R"("update":"unknown","outcome":"success","code":null,"action":null,"reason":null,)"
      R"("next":null,"measured":[],"acted":[]})"
      "\n");
  EXPECT_THAT(run.errors, HasSubstr("Patch 1 of product 2, service pack 3: 3 machines\n"));
  EXPECT_THAT(shell("vexlo-patch what-if actions $patch a --summary --json").output,
              HasSubstr(R"("macOS":null)"));
  root.write("install", R"({"PatchActions":{"1":{"2007":["14.5","x"],"2010":["/x.app"]}}})");
  EXPECT_THAT(shell("vexlo-patch what-if install $patch a").output,
              HasSubstr(R"("outcome":"wouldRun","code":"2007",)"));
}

TEST_F(WhatIfCommandTest, ShowsWhatActsBeforeTheDecidingActionAndGroupsByUpdate) {
  root.write("actions", R"({"PatchActions": {"1": {"2007": ["14.5", "macOS 14.5-23F79"],)"
                        R"("2008": ["com.x"]}}})");
  const std::string runs = R"(,"applications":{"com.x":[{"pid":1}]}})";
  std::string facts;
  for (const char* const more :
       {R"("macOSVersion":"14.4.1")", R"("macOSVersion":"14.10")", R"("macOSVersion":"13.6")",
        R"("macOSVersion":"14.4","availableOSUpdates":[])"}) {
    std::string line = machine(more);
    facts += line.replace(line.rfind('}'), 1, runs);
  }
  root.write("fleet", facts);
  const ToolRun run = shell("vexlo-patch what-if actions $patch fleet");
  const auto acted =
      R"("acted":[{"code":"2007","action":"installMacOSUpdates","outcome":"wouldRun"}])";
  for (const char* const update : {"minorUpdate", "alreadyCurrent", "majorUpgrade", "notOffered"}) {
    EXPECT_THAT(run.output, MatchesRegex(std::string("(.*\n)?[^\n]*\"update\":\"") + update +
                                         R"([^\n]*"code":"2008"[^\n]*)" + "[^\n]*\n.*"));
  }
  EXPECT_THAT(run.output, HasSubstr(acted));
  EXPECT_THAT(run.errors,
              AllOf(HasSubstr("\n4 machines would install (2007) first\n"),
                    HasSubstr("appIsRunning, after 2007 wouldRun"),
                    HasSubstr("\nminor update     macOS 14  Apple silicon         1    0.0 %\n"
                              "major upgrade    macOS 14  Apple silicon"),
                    HasSubstr("\nnot offered      Apple's tools don't list ")));
  root.write("client-data/patch-resources/mac-patch-actions.json", root.read("actions"));
  const std::string evaluate = "head -n 1 fleet | vexlo-patch evaluate --facts - $patch";
  EXPECT_THAT(shell(evaluate).output, HasSubstr("prompts are off; 2007 would install first\n"));
  EXPECT_THAT(shell(evaluate + " --json").output, HasSubstr(std::string(acted) + "}]}"));
  EXPECT_EQ(shell("vexlo-patch what-if actions $patch fleet --summary --json > s; "
                  "vexlo-patch what-if --merge --json s | cmp - s")
                .status,
            0);
}

TEST_F(WhatIfCommandTest, BadLinesAreReportedCountedAndSkipped) {
  root.write("bad", "{,\n" + machine(R"("x":[])") + std::string(1'100'000, 'x') + "\n{}");
  const ToolRun run = shell(
      "vexlo-patch what-if actions $patch --summary-file sum bad missing b; s=$?; cat sum; "
      "vexlo-patch what-if actions $patch --summary --json bad | cmp - sum; exit $s");
  EXPECT_EQ(run.status, 1);  // for the missing file
  EXPECT_THAT(run.errors,
              AllOf(StartsWith("vexlo-patch: bad:1: column 2: expected a member name or \"}\""),
                    HasSubstr("vexlo-patch: bad:3: expected a line of at most 1048576 bytes\n"),
                    HasSubstr("vexlo-patch: bad:4: expected the member \"version\", found none\n"),
                    HasSubstr("vexlo-patch: missing: No such file or directory\n")));
  EXPECT_THAT(run.output,
              AllOf(StartsWith("{\"machine\":\"bad:2\","), HasSubstr("\n{\"machine\":\"b:3\","),
                    HasSubstr(R"("machines":3,"badLines":3,)")));
  EXPECT_EQ(shell("vexlo-patch what-if actions $patch bad").status, 2);
}

TEST_F(WhatIfCommandTest, ManyBadLinesMakeFewMessagesAndOtherFormatsOne) {
  EXPECT_THAT(
      shell("yes x | head -n 20 > bad; vexlo-patch what-if actions $patch --summary bad").errors,
      AllOf(HasSubstr("bad:10: "), Not(HasSubstr("bad:11: ")),
            EndsWith("\nvexlo-patch: bad: further bad lines are only counted\n"
                     "vexlo-patch: bad: 20 bad lines\n")));
  root.write("indented", "\n {\n\"version\":1}\n");
  root.write("list", "[{}]\n");
  root.write("nul", std::string("a\0b\n", 4));
  for (const auto& [file, found] : {std::pair("zipped", "gzip data"),
                                    {"list", "a JSON array"},
                                    {"indented", "a JSON object on several"},
                                    {"nul", "binary"}}) {
    const ToolRun run = shell(std::string("gzip -c a > zipped; vexlo-patch what-if actions $patch "
                                          "--summary ") +
                              file);
    EXPECT_EQ(run.status, 1) << file;
    EXPECT_THAT(run.errors, StartsWith(std::string("vexlo-patch: ") + file +
                                       ": expected lines of facts, found " + found));
  }
}

TEST_F(WhatIfCommandTest, WritesTheSummaryToFIFOsAndDevices) {
  const ToolRun run = shell(
      "mkfifo pipe; cat pipe > read & vexlo-patch what-if actions $patch --summary-file pipe a && "
      "wait && test -p pipe && vexlo-patch what-if --merge read");
  EXPECT_EQ(run.status, 0) << run.errors;
  const ToolRun unread =  // at most 20 seconds
      shell(
          "perl -e 'alarm 20; exec @ARGV' vexlo-patch what-if actions $patch "
          "--summary-file pipe a");
  EXPECT_EQ(unread.status, 1);
  EXPECT_THAT(unread.errors, HasSubstr("vexlo-patch: pipe: nobody reads it\n"));
}

TEST_F(WhatIfCommandTest, ComparesWithAnotherActionFile) {
  const ToolRun run = shell("vexlo-patch what-if actions $patch --compare before a b");
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, MatchesRegex("[{]\"machine\":\"b:1\",[^\n]*,\"outcome\":\"applyLater\","
                                       "[^\n]*,\"before\":[{]\"outcome\":\"success\",[^\n]*\n"));
  const ToolRun isNew =
      shell("echo '{}' >empty; vexlo-patch what-if actions $patch --strict --compare empty a");
  EXPECT_EQ(isNew.status, 0);
  EXPECT_THAT(isNew.errors, HasSubstr("vexlo-patch: the file to compare with has no patch"));
}

TEST_F(WhatIfCommandTest, SummaryHasATableForEachQuestion) {
  agent_tool::FleetSummary summary({.patchID = "1",
                                    .productID = "2",
                                    .servicePackID = "3",
                                    .actions = {},
                                    .actionsBefore = {{}}});
  using enum agent_tool::Prediction;
  using agent_tool::Processor;
  const agent_tool::FleetPrediction passes{success, {}, {}, {}};
  const agent_tool::FleetPrediction fullDisk{applyLater, "2005", "inSufficientDiskSpace", {}};
  summary.add(passes, {agent_tool::Update::minorUpdate, 14, Processor::appleSilicon},
              1'234'567'890);
  summary.add(passes, {agent_tool::Update::notOffered, 26, Processor::intel}, 1'000);
  summary.add(fullDisk, {agent_tool::Update::unknown, 26, Processor::intel}, 1'000'000'000);
  summary.add({wouldAsk, "2008", {}, {{"2007", wouldRun}}}, {}, 1);
  summary.addMove({passes, fullDisk}, 7);
  summary.addMove({fullDisk, passes}, 1'000);
  summary.addBadLines(2);
  root.write("sum", agent_tool::asJSON(summary));
  EXPECT_EQ(shell("vexlo-patch what-if --merge sum").output,
            R"(Patch 1 of product 2, service pack 3: 2,234,568,891 machines, 2 bad lines left out

OUTCOME          MACHINES    SHARE
success     1,234,568,890   55.2 %  █████████████▎
applyLater  1,000,000,000   44.8 %  ██████████▊
wouldAsk                1    0.0 %  ▏
1 machine would install (2007) first

CODE  ACTION                   WHY                                 MACHINES    SHARE
2005  minimumDiskSpaceCheck    inSufficientDiskSpace          1,000,000,000   44.8 %  ██████████▊
2008  applicationRunningCheck  wouldAsk, after 2007 wouldRun              1    0.0 %  ▏

UPDATE        MACOS     PROCESSOR           MACHINES    READY
minor update  macOS 14  Apple silicon  1,234,567,890  100.0 %  ████████████████████████
not offered   macOS 26  Intel                  1,000  100.0 %  ████████████████████████
unknown       macOS 26  Intel          1,000,000,000    0.0 %
unknown       unknown   Intel                      1    0.0 %

BEFORE                      NOW                         MACHINES    SHARE
2005 inSufficientDiskSpace  success                        1,000    0.0 %  ▏
success                     2005 inSufficientDiskSpace         7    0.0 %  ▏

WORD          MEANING
READY         no action stops the patch, as far as can be known beforehand
success       the action passes
applyLater    the action can't pass now
wouldAsk      the user would be asked to close applications; no answer counts as no
wouldRun      the installer would run; its result decides
minor update  within the machine's major version of macOS
not offered   Apple's tools don't list the patch's macOS version for the machine
unknown       the patch names no macOS version, or the machine's is not known
)");
}

TEST_F(WhatIfCommandTest, PartialSummariesMergeToTheWhole) {
  const ToolRun run = shell(
      "make-fleet 500 --seed 3 > fleet; sum='vexlo-patch what-if actions $patch --summary --json';"
      "head -n 180 fleet > p1; tail -n +181 fleet > p2;"
      "eval \"$sum\" fleet > all; eval \"$sum\" p2 > s2; eval \"$sum\" - < p1 |"
      " vexlo-patch what-if --merge s2 - --json | cmp - all && vexlo-patch what-if --merge all");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.errors, IsEmpty());
  EXPECT_THAT(run.output, HasSubstr(": 500 machines\n"));
  EXPECT_THAT(shell("vexlo-patch what-if actions $patch --summary --json a > s1; "
                    "vexlo-patch what-if before $patch --summary --json a > s2; "
                    "vexlo-patch what-if --merge s1 s2")
                  .errors,
              HasSubstr("s2:1: this summary is for another patch or other actions"));
  const ToolRun twice = shell("vexlo-patch what-if --merge s1 s1");
  EXPECT_THAT(twice.errors, EndsWith("s1:1: warning: the same summary as s1:1, counted twice\n"));
  EXPECT_THAT(twice.output, HasSubstr(": 2 machines\n"));
}

TEST_F(WhatIfCommandTest, WorksAsAFilterForGNUParallel) {
  if (shell("parallel --version 2>/dev/null | grep -q '^GNU parallel'").status != 0) {
    GTEST_SKIP() << "GNU parallel is not installed";
  }
  const ToolRun run = shell(
      "export HOME=\"$PWD\"; make-fleet 3000 > fleet; vexlo-patch what-if actions $patch "
      "--summary-file all fleet > one; "
      "parallel --will-cite --pipe --keep-order --jobs 3 --block 300k "
      "vexlo-patch what-if actions $patch --summary-file part-{#} - < fleet | cmp - one && "
      "test -e part-4 && vexlo-patch what-if --merge part-* --json | cmp - all");
  EXPECT_EQ(run.status, 0) << run.output << run.errors;
}

TEST_F(WhatIfCommandTest, ReportsUnusableFiles) {
  EXPECT_EQ(shell("vexlo-patch what-if missing $patch a").status, 65);
  EXPECT_EQ(shell("vexlo-patch what-if --merge a").status, 65);
  const ToolRun nothing = shell("echo > none; vexlo-patch what-if --merge none");
  EXPECT_EQ(nothing.status, 65);
  EXPECT_EQ(nothing.errors, "vexlo-patch: none: expected a summary, found none\n");
}

}  // namespace
