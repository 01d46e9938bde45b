#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>
#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

/// JSON lines with the measured times, which must look like such, as 0.
std::string withoutTimes(const std::string& lines) {
  return std::regex_replace(lines, std::regex(R"("seconds":\d+\.\d{3}\})"), R"("seconds":0})");
}

class RunCommandTest : public AgentToolTest {
 protected:
  /// An installer application whose tool ends with `status`.
  std::string installer(int status) {
    const std::string tool = root.write("I.app/Contents/Resources/startosinstall",
                                        "#!/bin/sh\necho told\nexit " + std::to_string(status));
    ::chmod(tool.c_str(), 0755);
    return root.file("I.app");
  }
};

constexpr const char* kPassed =
    R"({"name":"minimumDiskSpaceCheck","code":"2005","arguments":["0"],"result":"success","description":null,"detail":null,"seconds":0})"
    "\n";

TEST_F(RunCommandTest, EveryActionIsAJSONLine) {
  writeActions(R"({"PatchActions":{"1":{"3001":["x","y"],"2005":["0"],"2009":[]}}})");
  const ToolRun run = toolForPatch("run", {"--json", "--log-level", "none"});
  EXPECT_EQ(
      withoutTimes(run.output),
      std::string(kPassed) +
          R"({"name":"applicationRunningNotifier","code":"2009","arguments":[],"result":"success","description":null,"detail":null,"seconds":0})"
          "\n"
          R"json({"name":"undefined(\"3001\")","code":"3001","arguments":["x","y"],"result":"success","description":null,"detail":null,"seconds":0})json"
          "\n");
  EXPECT_THAT(run.errors, IsEmpty());
  EXPECT_EQ(run.status, 0);
}

TEST_F(RunCommandTest, StopsAtTheFirstActionThatIsNoSuccess) {
  writeActions(R"({"PatchActions":{"1":{"2001":["30 "],"2005":["0"]}}})");
  const std::string applyLater =
      R"({"name":"siliconBatteryPercentageCheck","code":"2001","arguments":["30 "],"result":"applyLater","description":"inSufficientArguments","detail":null,"seconds":0})"
      "\n";
  const ToolRun stopped = toolForPatch("run", {"--json", "--machine", "apple-silicon"});
  EXPECT_EQ(withoutTimes(stopped.output), applyLater);
  EXPECT_EQ(stopped.status, 75);

  const ToolRun went =
      toolForPatch("run", {"--json", "--machine", "apple-silicon", "--keep-going"});
  EXPECT_EQ(withoutTimes(went.output), applyLater + kPassed);
  EXPECT_EQ(went.status, 75);
}

TEST_F(RunCommandTest, AFailureOutranksWhatIsToBeAppliedLater) {
  writeActions(R"({"PatchActions":{"1":{"2010":[")" + installer(7) +
               R"("],"2005":["nothing"],"2007":["14.5"]}}})");
  const ToolRun run = toolForPatch("run", {"--json", "--machine", "intel", "--keep-going"});
  EXPECT_THAT(
      run.output,
      HasSubstr(R"("result":"failure","description":"macOSSoftwareUpdateInstallationFailed")"));
  EXPECT_THAT(run.output, HasSubstr(R"("result":"applyLater")"));
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors,
              AllOf(HasSubstr("vexlo-patch: notification 19: macOS updates are in progress\n"),
                    HasSubstr(" told\n")));
}

TEST_F(RunCommandTest, TheTableSaysWhyAndWhatWasLeftOut) {
  writeActions(R"({"PatchActions":{"1":{"2010":[")" + installer(0) +
               R"("],"2005":["0"],"2006":[],"2007":[],"2008":["x"]}}})");
  const ToolRun run = toolForPatch("run", {"--machine", "intel", "--log-level", "none"});
  EXPECT_EQ(std::regex_replace(run.output, std::regex(R"( +\d+\.\d\d s)"), " T"),
            "CODE  ACTION                                    RESULT           TIME  WHY\n"
            "2005  minimumDiskSpaceCheck                     success T\n"
            "2006  macOSDeferCheck                           success T\n"
            "2007  installMacOSUpdates                       applyLater T  inSufficientArguments\n"
            "2 success, 1 applyLater, 2 not run\n");
  EXPECT_EQ(run.status, 75);
}

TEST_F(RunCommandTest, PickedActionsRunOnceAndInOrder) {
  writeActions(R"({"PatchActions":{"1":{"2003":[],"2005":["0"],"-5":["a"]}}})");
  const ToolRun run =
      toolForPatch("run", {"--action", "2005", "--action", "-5", "--action", "2005", "--action",
                           "2010", "--action", "[2003,2004]", "--json"});
  EXPECT_EQ(
      withoutTimes(run.output),
      std::string(
          R"json({"name":"undefined(\"-5\")","code":"-5","arguments":["a"],"result":"success","description":null,"detail":null,"seconds":0})json"
          "\n") +
          kPassed +
          R"({"name":"installMacOSUpdatesUsingInstallAssistant","code":"2010","arguments":[],"result":"success","description":null,"detail":null,"seconds":0})"
          "\n"
          R"json({"name":"undefined(\"[2003,2004]\")","code":"[2003,2004]","arguments":[],"result":"success","description":null,"detail":null,"seconds":0})json"
          "\n");
  EXPECT_EQ(run.status, 0);
}

TEST_F(RunCommandTest, LogLinesGoWhereTheyAreWantedAndFromTheLevelOn) {
  writeActions(R"({"PatchActions":{"1":{"3001":[]}}})");
  const std::string notDefined = R"j(ActionID undefined("3001"):[] not defined)j";
  const std::string applicable = "Applicable actions for patchID: 1: ";
  const ToolRun byDefault = toolForPatch("run");
  EXPECT_THAT(byDefault.errors, AllOf(HasSubstr(applicable), HasSubstr(notDefined)));
  EXPECT_EQ(byDefault.errors.find(applicable), byDefault.errors.rfind(applicable));
  EXPECT_THAT(toolForPatch("run", {"--log-level", "error"}).errors,
              AllOf(Not(HasSubstr(applicable)), HasSubstr(notDefined)));

  root.write("log", "former line\n");
  EXPECT_THAT(toolForPatch("run", {"--log-file", root.file("log")}).errors, IsEmpty());
  EXPECT_THAT(root.read("log"), AllOf(StartsWith("former line\n"), HasSubstr(notDefined)));
}

TEST_F(RunCommandTest, AReportThatCannotBeWrittenIsAFailure) {
  writeActions(R"({"PatchActions":{"1":{"3001":[]}}})");
  outputFile = "/dev/full";
  const ToolRun run = toolForPatch("run", {"--json", "--log-level", "none"});
  EXPECT_EQ(run.errors, "vexlo-patch: can't write to standard output: No space left on device\n");
  EXPECT_EQ(run.status, 1);
}

}  // namespace
