#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class CommandLineTest : public AgentToolTest {};

TEST_F(CommandLineTest, BadUsageExitsWith64AndPointsToHelp) {
  for (const auto& [commandLine, expected] : std::vector<std::pair<std::string, std::string>>{
           {"vexlo-patch", "a command is needed"},
           {"vexlo-patch paln", "no such command: paln"},
           {"vexlo-patch help '\x1b[2J\xff'", "\\u001b[2J\\xff"},
           {"vexlo-patch plan --product 2 --service-pack 3", "--patch"},
           {"vexlo-patch run $patch --machine ppc", "--machine"},
           {"vexlo-patch plan $patch --machine intel", "--machine"},
           {"vexlo-patch plan $patch --data-dir .", "unexpected arguments: --data-dir .\n"},
           {"vexlo-patch plan $patch one", "unexpected argument: one\n"},
           {"vexlo-patch plan $patch --patch 2", "--patch may be given only once"},
           {"vexlo-patch plan $patch --log-dir .", "--log-dir"},
           {"vexlo-patch run $patch --action= --action=2005", "--action: a code or name is needed"},
           {"vexlo-patch check file --machine intel", "--machine"},
           {"vexlo-patch run $patch --machine=", "--machine"},
           {"vexlo-patch what-if", "vexlo-patch: ACTIONS is required\n"},
           {"vexlo-patch what-if actions a --patch 1 --product 2",
            "vexlo-patch: --service-pack is required\n"},
           {"vexlo-patch what-if actions $patch a --json",
            "vexlo-patch: --json needs --summary or --merge\n"},
           {"vexlo-patch what-if --merge b --strict", "vexlo-patch: --merge excludes --strict\n"},
           {"vexlo-patch what-if --merge",
            "vexlo-patch: a summary is required (- for standard input)\n"},
           {"vexlo-patch evaluate $patch --facts a --ask-apple", "--facts excludes --ask-apple\n"},
           {"vexlo-patch facts --name ''", "--name: a name is needed\n"},
           {"vexlo-patch help actions 205",
            "vexlo-patch: no such action: 205\nTry 'vexlo-patch help actions'.\n"},
           {"VEXLO_AGENT_ROOT=/no/such vexlo-patch plan $patch",
            "no such directory: \"/no/such\" (from --agent-root or VEXLO_AGENT_ROOT)"},
           {"env -u VEXLO_AGENT_ROOT vexlo-patch plan $patch",
            "give --agent-root DIR (or set VEXLO_AGENT_ROOT), or --base-dir DIR"},
           {"env -u VEXLO_AGENT_ROOT vexlo-patch run $patch --base-dir .", "or --data-dir DIR"}}) {
    SCOPED_TRACE(commandLine);
    const ToolRun run = shell(commandLine);
    EXPECT_EQ(run.status, 64);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, AllOf(StartsWith("vexlo-patch: "), HasSubstr(expected),
                                  HasSubstr("\nTry 'vexlo-patch help")));
  }
}

TEST_F(CommandLineTest, VersionAndHelpGoToStandardOutput) {
  EXPECT_THAT(
      shell("vexlo-patch --version").output,
      ::testing::MatchesRegex(
          "VexloPatchDeployment [0-9]+\\.[0-9]+\\.[0-9]+ \\(commit ([0-9a-f]{12}|unknown)\\)\n"));
  const ToolRun help = shell("vexlo-patch help run");
  EXPECT_THAT(help.output, AllOf(HasSubstr("--action CODE|NAME"), EndsWith("not enough memory\n")));
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(shell("vexlo-patch run --help").output, help.output);
  EXPECT_THAT(shell("vexlo-patch help").output, HasSubstr("\nCommands:\n  plan "));
  EXPECT_EQ(shell("vexlo-patch help check").output,
            R"(Finds errors in action files, gives warnings, and shows where they are.
Usage: vexlo-patch check [OPTIONS] FILE...

Positionals:
  FILE ... (required)         the action files (- for standard input)

Options:
  -h,--help                   show this help
  --strict                    exit with 1 if there is a warning
  --json                      print one JSON object per file, each on one line, instead of text

Exit status:
  0   the files can be used
  1   with --strict: there is a warning
  64  bad usage
  65  a file can't be used
  71  not enough memory
)");
}

}  // namespace
