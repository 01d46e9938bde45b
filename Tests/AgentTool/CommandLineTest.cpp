#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

struct BadUsageCase {
  const char* name;
  std::vector<std::string> arguments;
  const char* complaint;  // somewhere in the text
};

class CommandLineTest : public AgentToolTest {};
class BadUsageTest : public AgentToolTest, public testing::WithParamInterface<BadUsageCase> {};

TEST_P(BadUsageTest, EndsWith64AndSaysWhereHelpIs) {
  const ToolRun run = tool(GetParam().arguments);
  EXPECT_EQ(run.status, 64);
  EXPECT_THAT(run.output, IsEmpty());
  EXPECT_THAT(run.errors, AllOf(StartsWith("vexlo-patch: "), HasSubstr(GetParam().complaint),
                                HasSubstr("\nTry 'vexlo-patch help")));
}

std::vector<std::string> forPatch(std::vector<std::string> arguments) {
  for (const char* word : {"--patch", "1", "--product", "2", "--service-pack", "3"}) {
    arguments.emplace_back(word);
  }
  return arguments;
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, BadUsageTest,
    testing::Values(
        BadUsageCase{"NoCommand", {}, "a command is needed"},
        BadUsageCase{"UnknownCommand", {"paln"}, "no such command: paln"},
        BadUsageCase{"NoPatch", {"plan", "--product", "2", "--service-pack", "3"}, "--patch"},
        BadUsageCase{"NoAgent", forPatch({"plan"}),
                     "give --agent-root DIR (or set VEXLO_AGENT_ROOT), or --base-dir DIR"},
        BadUsageCase{"RunNeedsTheDataDirectoryToo", forPatch({"run", "--base-dir", "/"}),
                     "or --data-dir DIR"},
        BadUsageCase{"NoSuchRoot", forPatch({"plan", "--agent-root", "/no/such"}),
                     "no such directory: \"/no/such\" (from --agent-root or VEXLO_AGENT_ROOT)"},
        BadUsageCase{"UnknownMachine", forPatch({"plan", "--agent-root", "/", "--machine", "ppc"}),
                     "--machine"},
        BadUsageCase{"UnknownLevel", forPatch({"plan", "--agent-root", "/", "--log-level", "all"}),
                     "--log-level"},
        BadUsageCase{"RunOptionForPlan", forPatch({"plan", "--keep-going"}), "--keep-going"},
        BadUsageCase{"ControlCharacter", {"check", "file", "\x1b[2J"}, "\\u001b[2J"},
        BadUsageCase{"NoFile", {"check"}, "FILE"},
        BadUsageCase{"NoHelpOnThat", {"help", "everything"}, "no such command: everything"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(CommandLineTest, AnUnusableLogFileIsBadUsage) {
  writeActions("{}");
  const ToolRun run = toolForPatch("plan", {"--log-file", root.path()});
  EXPECT_EQ(run.errors, "vexlo-patch: --log-file " + root.path() + ": Is a directory\n");
  EXPECT_EQ(run.status, 64);
}

TEST_F(CommandLineTest, TheAgentRootComesFromTheEnvironmentAndSingleDirectoriesOutrankIt) {
  writeActions("{}");
  const std::vector<std::string> plan = forPatch({"plan", "--json"});
  const std::string empty =
      R"({"patch":{"patchID":"1","productID":"2","servicePackID":"3"},"exempt":false,"actions":[]})"
      "\n";
  EXPECT_EQ(tool(plan, {"VEXLO_AGENT_ROOT=" + root.path() + "/"}).output, empty);
  std::vector<std::string> withBase = plan;
  withBase.insert(withBase.end(), {"--base-dir", root.path()});
  EXPECT_EQ(tool(withBase, {"VEXLO_AGENT_ROOT=/no/such"}).output, empty);
}

TEST_F(CommandLineTest, VersionAndHelpAreAnsweredOnStandardOutput) {
  EXPECT_EQ(tool({"--version"}).output, "VexloPatchDeployment 1.0\n");
  const ToolRun help = tool({"help", "run"});
  EXPECT_THAT(help.output, AllOf(HasSubstr("--keep-going"), HasSubstr("--action CODE"),
                                 HasSubstr("VEXLO_AGENT_ROOT"), HasSubstr("Exit status:")));
  EXPECT_THAT(help.errors, IsEmpty());
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(tool({"run", "--help"}).output, help.output);
  EXPECT_THAT(tool({"--help"}).output, AllOf(HasSubstr("plan"), HasSubstr("check")));
}

}  // namespace
