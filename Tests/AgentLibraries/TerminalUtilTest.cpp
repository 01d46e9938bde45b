#include "AgentLibraries/vxutils/TerminalUtil.h"

#include <gmock/gmock.h>

#include <csignal>

#include "Tests/Fakes/LogCapture.h"

namespace vxutils {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::int64_t kTwoHours = 7200;

class TerminalUtilTest : public ::testing::Test {
 protected:
  TerminalUtil& terminal = TerminalUtil::defaultInstance();
  LogCapture log;
  const decltype(LoggedBy("", "")) ofRun =
      LoggedBy("vxutils/TerminalUtil",
               "runCommand(_:inDirectory:launchPath:pipeInput:timeout:logOutputContinuously:"
               "shouldLogOutput:)");
};

TEST_F(TerminalUtilTest, TheInputArrivesExactlyAndNeitherItNorTheCommandIsLogged) {
  EXPECT_EQ(terminal.runCommand("wc -c; : hidden; pwd >&2; exit 3", "/usr", {}, "a secret\nword",
                                kTwoHours, true, true),
            (CommandResult{.exitCode = 3, .output = "13\n/usr\n"}));
  EXPECT_FALSE(log.mentions("secret"));
  EXPECT_FALSE(log.mentions("hidden"));
}

TEST_F(TerminalUtilTest, OutputIsLoggedLineByLineOrWholeOrNotAtAll) {
  constexpr const char* kCommand = "printf 'one\\ntwo'";
  (void)terminal.runCommand(kCommand, {}, {}, {}, kTwoHours, false, false);
  EXPECT_THAT(log.records(), IsEmpty());
  (void)terminal.runCommand(kCommand, {}, {}, {}, kTwoHours, true, true);
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("one"), ofRun), AllOf(InfoLine("two"), ofRun),
                          AllOf(InfoLine("one\ntwo"), ofRun)));
}

TEST_F(TerminalUtilTest, ACommandThatTidiesUpAtItsTimeOutHasNotSucceeded) {
  const std::string command = "trap 'exit 0' TERM; while :; do sleep 0.05; done";
  EXPECT_EQ(terminal.runCommand(command, {}, {}, {}, 1, false, false).exitCode, 143);
}

TEST_F(TerminalUtilTest, ATaskGetsItsArgumentsWithoutAShell) {
  EXPECT_THAT(terminal.executeTaskForString("/bin/echo", {"$HOME", "a  b", ""}),
              Pair(0, "$HOME a  b \n"));
  EXPECT_THAT(terminal.executeTaskForString("/no/such/tool", {}), Pair(127, ""));
  EXPECT_THAT(terminal.executeTaskForString("/bin/sleep", {"60"}, 0), Pair(143, ""));
  const auto ofTask =
      LoggedBy("vxutils/TerminalUtil", "executeTaskForString(pathOfBinary:arguments:)");
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(ErrorLine("Could not start /no/such/tool: No such file or "
                                          "directory."),
                                ofTask),
                          AllOf(ErrorLine("The command was ended after 0 seconds."), ofTask)));
}

TEST_F(TerminalUtilTest, AStatusThatTheSystemDidNotKeepIsLogged) {
  const auto former = std::signal(SIGCHLD, SIG_IGN);
  const CommandResult result = terminal.runCommand("exit 3", {}, {}, {}, kTwoHours, false, false);
  std::signal(SIGCHLD, former);
  EXPECT_EQ(result, (CommandResult{.exitCode = -1, .output = ""}));
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(ErrorLine("The exit status of the command is not known: this "
                                          "process ignores SIGCHLD, or another part of it has "
                                          "waited for the child."),
                                ofRun)));
}

}  // namespace
}  // namespace vxutils
