#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "Platform/Descriptor.h"
#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class PlanCommandTest : public AgentToolTest {
 protected:
  /// The output of `plan` on a terminal of 60 columns, with the terminal's line endings.
  std::string shownPlan(const std::string& environment) {
    writeActions(
        R"({"PatchActions":{"1":{"2003":[],"2008":["com.apple.Safari","com.apple.Mail"]}}})");
    const platform::Descriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK));
    ::grantpt(terminal.get());
    ::unlockpt(terminal.get());
    const winsize size{.ws_row = 24, .ws_col = 60, .ws_xpixel = 0, .ws_ypixel = 0};
    ::ioctl(terminal.get(), TIOCSWINSZ, &size);
    const std::string path = ::ptsname(terminal.get());
    // Keeps the terminal open, so that the tool's output isn't discarded.
    const platform::Descriptor kept(::open(path.c_str(), O_RDWR | O_NOCTTY));
    EXPECT_EQ(shell(environment + " vexlo-patch plan $patch > " + path).status, 0);
    std::array<char, 4096> shown{};
    const ssize_t count = ::read(terminal.get(), shown.data(), shown.size());
    return {shown.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }
};

TEST_F(PlanCommandTest, PrintsOneJSONObject) {
  writeActions(R"({
    "ProductServicePackActions": {"2": {"3": {"2003": [], "2005": ["20"]}}},
    "PatchActions": {"1": {"2005": ["40", "x"], "3001": []}}})");
  const ToolRun run = shell("vexlo-patch plan $patch --json");
  EXPECT_EQ(
      run.output,
      R"({"patch":{"patchID":"1","productID":"2","servicePackID":"3"},"notInFile":[],"exempt":false,"actions":[)"
      R"({"actionID":{"userLoggedInCheck":{}},"name":"userLoggedInCheck","code":"2003",)"
      R"("sortOrder":2003,"arguments":[],"origin":"product"},)"
      R"({"actionID":{"minimumDiskSpaceCheck":{}},"name":"minimumDiskSpaceCheck","code":"2005",)"
      R"("sortOrder":2005,"arguments":["40","x"],"origin":"patch"},)"
      R"j({"actionID":{"undefined":{"_0":"3001"}},"name":"undefined(\"3001\")","code":"3001",)j"
      R"("sortOrder":3001,"arguments":[],"origin":"patch"}]})"
      "\n");
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, 0);
  writeActions(R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1"]}})");
  EXPECT_THAT(shell("vexlo-patch plan $patch --json").output,
              HasSubstr(R"("exempt":true,"actions":[]})"));
}

TEST_F(PlanCommandTest, TableIsAlignedAndEscaped) {
  writeActions(
      R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1"],"2":{"3":{"2003":[]}}},
          "PatchActions":{"1":{"2005":["40"],"x字\u001b[2J":["","a b","\u0007\u202e"]}}})");
  EXPECT_EQ(shell("vexlo-patch plan $patch").output,
            "Patch 1 of product 2, service pack 3\n"
            "The patch is exempt from the actions of its product; only its own apply.\n"
            "\n"
            "#  CODE          ACTION                     FROM   ARGUMENTS\n"
            "1  2005          minimumDiskSpaceCheck      patch  40\n"
            "2  x字\\u001b[2J  undefined(\"x字\\u001b[2J\")  patch  \"\", \"a b\", "
            "\\u0007\\u202e\n");
}

TEST_F(PlanCommandTest, ReportsNamesNotInFileAndFailsWhenStrict) {
  writeActions(
      R"({"ProductServicePackActions":{"ExclusionPatchIDs":["7"],"2":{"4":{}}},"PatchActions":{"6":{}}})");
  const std::string notHeld = "vexlo-patch: the action file has no ";
  const std::string noServicePack = notHeld + "service pack 3 of product 2\n";
  for (const std::string command : {"plan", "run --log-level none"}) {
    SCOPED_TRACE(command);
    const std::string tool = "vexlo-patch " + command + " --json ";
    const ToolRun lax = shell(tool + "$patch");
    EXPECT_EQ(lax.errors, notHeld + "patch 1\n" + noServicePack);
    EXPECT_THAT(lax.output, HasSubstr(R"("notInFile":["patchID","servicePackID"])"));
    EXPECT_EQ(lax.status, 0);
    const ToolRun strict = shell(tool + "--strict --patch 7 --product 2 --service-pack 3");
    EXPECT_EQ(strict.errors, noServicePack);
    EXPECT_EQ(strict.output, "");
    EXPECT_EQ(strict.status, 64);
    EXPECT_EQ(shell(tool + "--patch 6 --product 5 --service-pack 4").errors,
              notHeld + "product 5\n");
    EXPECT_EQ(shell(tool + "--strict --patch 6 --product 2 --service-pack 4").status, 0);
  }
}

TEST_F(PlanCommandTest, ReportsAnUnusableFileOnOneLine) {
  const std::string file = writeActions("[]");
  const ToolRun run =
      shell("VEXLO_AGENT_ROOT=/no/such vexlo-patch plan $patch --agent-root \"$PWD\" --json");
  EXPECT_EQ(run.errors, "vexlo-patch: " + file + ": expected an object, found an array\n");
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.status, 65);
}

TEST_F(PlanCommandTest, TerminalOutputHasColoursAndFitsTheWidth) {
  const std::string shown = shownPlan("TERM=xterm NO_COLOR=");
  EXPECT_THAT(shown, HasSubstr("The file has no actions for this product and service pack;"));
  EXPECT_THAT(shown, HasSubstr("\x1b[1mCODE\x1b[0m"));
  EXPECT_THAT(shown, HasSubstr("1  2003  userLoggedInCheck        patch  \x1b[2m-\x1b[0m\r\n"
                               "2  2008  applicationRunningCheck  patch  com.apple.Safari,\r\n"
                               "                                         com.apple.Mail\r\n"));
  EXPECT_THAT(shownPlan("TERM=xterm NO_COLOR=1"), Not(HasSubstr("\x1b")));
  EXPECT_THAT(shownPlan("TERM=dumb NO_COLOR="), AllOf(HasSubstr("CODE"), Not(HasSubstr("\x1b"))));
}

}  // namespace
