#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <regex>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class RunCommandTest : public AgentToolTest {};

TEST_F(RunCommandTest, RunsSelectedActionsInOrderUntilOneDoesNotSucceed) {
  writeActions(
      R"({"PatchActions":{"1":{"2002":["30 "],"2005":["0"],"-5":[],"2010":["/none.app"]}}})");
  for (const auto& [options, ended] : std::vector<std::pair<std::string, std::string>>{
           {"", "-5 success, 2002 applyLater, status 75\n"},
           {"--keep-going", "-5 success, 2002 applyLater, 2005 success, 2010 failure, status 1\n"},
           {"--action minimumDiskSpaceCheck --action -5 --action 2003 --action 2005",
            "-5 success, 2003 success, 2005 success, status 0\n"},
           {"--action 2005 --action minimumDiskCheck", "status 64\n"},
           {"--action 3001", "status 64\n"}}) {
    SCOPED_TRACE(options);
    const ToolRun run = shell("vexlo-patch run $patch --machine intel --json --log-level none " +
                              options + "; echo status $?");
    const std::regex line(
        R"re(\{"event":"result",.*"code":"(.*)","arg.*"result":"(.*)","desc.*\n)re");
    EXPECT_EQ(std::regex_replace(run.output, line, "$1 $2, "), ended);
  }
}

TEST_F(RunCommandTest, TableShowsReasonsAndSkippedActions) {
  writeActions(
      R"({"PatchActions":{"1":{"2001":["5"],"2010":["x"],"2005":["3 GB"],"2006":[],"2008":["x"]}}})");
  const ToolRun run = shell("vexlo-patch run $patch --machine intel --log-level none");
  EXPECT_EQ(std::regex_replace(run.output, std::regex(R"( +\d+\.\d\d s)"), " T"),
            "CODE  ACTION                                    RESULT           TIME  WHY\n"
            "2001  siliconBatteryPercentageCheck             success T  for another processor\n"
            "2005  minimumDiskSpaceCheck                     applyLater T  inSufficientArguments: "
            "minimum free space in GB: \"3 GB\" is not an integer\n"
            "1 success, 1 applyLater, 3 not run\n");
}

TEST_F(RunCommandTest, ExplainShowsLogLinesOfUnsuccessfulActions) {
  writeActions(R"({"PatchActions":{"1":{"2005":["0"],"2010":[]}}})");
  const std::string line =
      "error PatchActions/Main/ProcessPatchActions "
      "installMacOSUpdatesUsingInstallAssistant(for:using:): Unable to perform macOS "
      "update/upgrade using InstallAssistant, not enough arguments. Arguments [].";
  const std::string command = "vexlo-patch run $patch --explain --log-level none";
  EXPECT_THAT(shell(command).output,
              testing::EndsWith("\n1 success, 1 applyLater\n\n"
                                "2010 installMacOSUpdatesUsingInstallAssistant: applyLater\n  " +
                                line +
                                "\n  info PatchActions/Main/ProcessPatchActions execute(for:): "
                                "Patch action result for action detail (actionID: "
                                "installMacOSUpdatesUsingInstallAssistant, arguments: []) : "
                                "applyLater(inSufficientArguments).\n"));
  const std::string json = shell(command + " --json").output;
  EXPECT_THAT(json, HasSubstr(R"("log":[")" + line + R"(",")"));
  EXPECT_THAT(json.substr(0, json.find('\n')),
              AllOf(HasSubstr(R"("why":")"), HasSubstr(R"("measured":[{"kind":"diskSpace",)"),
                    Not(HasSubstr("\"log\""))));
}

TEST_F(RunCommandTest, LogsToTheChosenFileFromTheChosenLevel) {
  writeActions(R"({"PatchActions":{"1":{"3001":[]}}})");
  const std::string notDefined = R"j(ActionID undefined("3001"):[] not defined)j";
  const std::string applicable = "Applicable actions for patchID: 1: ";
  EXPECT_THAT(shell("vexlo-patch run $patch").errors,
              AllOf(HasSubstr(applicable), HasSubstr(notDefined)));
  EXPECT_THAT(shell("vexlo-patch run --patch= --product 2 --service-pack 3").errors,
              HasSubstr("Applicable actions for patchID: : [:]."));
  root.write("log", "former line\n");
  EXPECT_EQ(shell("vexlo-patch run $patch --log-file log --log-level error").errors, "");
  EXPECT_THAT(root.read("log"), AllOf(StartsWith("former line\n"), HasSubstr(notDefined),
                                      Not(HasSubstr(applicable))));
  (void)shell("mkfifo fifo; ln -s log link");
  for (const auto& [path, why] : std::vector<std::pair<std::string, std::string>>{
           {".", "Is a directory"},
           {"fifo", std::generic_category().message(ENXIO)},
           {"link", "expected a file, found a link"}}) {
    SCOPED_TRACE(path);
    const ToolRun run = shell("vexlo-patch run $patch --log-file " + path);
    EXPECT_EQ(run.errors, "vexlo-patch: --log-file " + path + ": " + why + "\n");
    EXPECT_EQ(run.status, 64);
  }
}

TEST_F(RunCommandTest, FailsIfTheReportCannotBeWritten) {
  writeActions(R"({"PatchActions":{"1":{"3001":[]}}})");
  const ToolRun closed = shell("vexlo-patch run $patch --log-file log >&-");
  EXPECT_EQ(closed.errors, "vexlo-patch: can't write to standard output: Bad file descriptor\n");
  EXPECT_EQ(closed.status, 1);
  EXPECT_THAT(root.read("log"), Not(HasSubstr("1 success")));

  if (!std::filesystem::exists("/dev/full")) {
    GTEST_SKIP() << "no /dev/full here";
  }
  const ToolRun run = shell("vexlo-patch run $patch --json --log-level none > /dev/full");
  EXPECT_EQ(run.errors, "vexlo-patch: can't write to standard output: No space left on device\n");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(shell("vexlo-patch run $patch --log-file /dev/full").errors,
            "vexlo-patch: --log-file /dev/full: No space left on device; log lines are missing\n");
}

}  // namespace
