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
  static CommandResult run(const std::string& command,
                           const std::optional<std::string>& input = std::nullopt) {
    return TerminalUtil::defaultInstance().runCommand(command, std::nullopt, "/bin/sh", input,
                                                      kTwoHours, true, false);
  }
  static auto ofRun() {
    return LoggedBy("vxutils/TerminalUtil",
                    "runCommand(_:inDirectory:launchPath:pipeInput:timeout:logOutputContinuously:"
                    "shouldLogOutput:)");
  }
  LogCapture log;
};

TEST_F(TerminalUtilTest, StatusAndOutputAreReturned) {
  EXPECT_EQ(run("exit 3"), (CommandResult{.exitCode = 3, .output = {}}));
  EXPECT_EQ(run("echo out; echo error >&2"), (CommandResult{.output = "out\nerror\n"}));
  EXPECT_EQ(run("printf '\\377\\0'").output, std::string("\377\0", 2));
}

TEST_F(TerminalUtilTest, TheInputArrivesExactlyAndIsNeverLogged) {
  EXPECT_EQ(run("wc -c; : hidden-in-command", "a secret\nword").output, "13\n");
  EXPECT_FALSE(log.mentions("secret"));
  EXPECT_FALSE(log.mentions("hidden"));
}

TEST_F(TerminalUtilTest, OutputIsLoggedLineByLineOrWholeOrNotAtAll) {
  TerminalUtil& terminal = TerminalUtil::defaultInstance();
  constexpr const char* kCommand = "printf 'one\\ntwo'";
  (void)terminal.runCommand(kCommand, {}, {}, {}, kTwoHours, false, false);
  EXPECT_THAT(log.records(), IsEmpty());
  (void)terminal.runCommand(kCommand, {}, {}, {}, kTwoHours, true, true);
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("one"), ofRun()), AllOf(InfoLine("two"), ofRun()),
                          AllOf(InfoLine("one\ntwo"), ofRun())));
}

TEST_F(TerminalUtilTest, DirectoryAndShellAreThoseGiven) {
  TerminalUtil& terminal = TerminalUtil::defaultInstance();
  EXPECT_EQ(terminal.runCommand("pwd; echo $0", "/usr", {}, {}, kTwoHours, false, false).output,
            "/usr\n/bin/sh\n");
  EXPECT_EQ(terminal.runCommand("true", {}, "/no/such/shell", {}, kTwoHours, false, false).exitCode,
            127);
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(ErrorLine("Could not start /no/such/shell: No such file or directory."), ofRun())));
}

TEST_F(TerminalUtilTest, TheTimeOutEndsTheCommand) {
  const CommandResult result = TerminalUtil::defaultInstance().runCommand(
      "echo begun; sleep 60", {}, {}, {}, 1, false, false);
  EXPECT_EQ(result, (CommandResult{.exitCode = 143, .output = "begun\n"}));
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(ErrorLine("The command was ended after 1 seconds."), ofRun())));
}

TEST_F(TerminalUtilTest, ATaskGetsItsArgumentsWithoutAShell) {
  TerminalUtil& terminal = TerminalUtil::defaultInstance();
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
  const CommandResult result = TerminalUtil::defaultInstance().runCommand(
      "echo hidden; exit 3", {}, {}, {}, kTwoHours, false, false);
  std::signal(SIGCHLD, former);
  EXPECT_EQ(result, (CommandResult{.exitCode = -1, .output = "hidden\n"}));
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(ErrorLine("The exit status of the command is not known: this "
                                          "process ignores SIGCHLD, or another part of it has "
                                          "waited for the child."),
                                ofRun())));
}

}  // namespace
}  // namespace vxutils
