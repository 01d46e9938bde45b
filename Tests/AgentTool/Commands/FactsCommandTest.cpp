#include <gmock/gmock.h>

#include <string>

#include "AgentTool/Console/Console.h"
#include "AgentTool/Facts/Facts.h"
#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

class FactsCommandTest : public AgentToolTest {};

TEST_F(FactsCommandTest, WorksWithoutAnAgentAndSaysWhyFactsAreAbsent) {
  const ToolRun run =
      shell("env -u VEXLO_AGENT_ROOT vexlo-patch facts --json --application no.such");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, MatchesRegex("[{]\"version\":1,\"time\":\"[^\n]*[}]\n"));
  EXPECT_THAT(
      run.output,
      AllOf(HasSubstr(R"("agent":{"base":null,"data":null,"logs":null,"serviceAnswers":false,)"
                      R"("credentialsStored":null})"),
            HasSubstr(R"("patchData":{"file":null,"values":null})"),
            HasSubstr(R"("applications":{"no.such":[]})"),
            HasSubstr(R"("patchData":"the agent's data directory is not given")"),
            HasSubstr(R"("customization":"the agent's data directory is not given")"),
            HasSubstr(R"("agentService":"Unable to reach the agent service: )")));
}

TEST_F(FactsCommandTest, ShowsSettingsWithTheirFileAndOnlyKnownKeys) {
  root.write("data/vxpatch_data.plist",
             R"({"OSPatchingViaMDMStatus" = 1; "AlwaysKillApps" = "true"; "Secret" = "x";})");
  root.write("data/ApplicationRunningPromptCustomization.plist", R"({"subTitle" = ("a");})");
  const std::string data = root.path() + "/data/";
  const ToolRun run = shell("vexlo-patch facts --application no.such");
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("  " + data + "vxpatch_data.plist\n  AlwaysKillApps "),
                    HasSubstr("applications killed       no\n"), Not(HasSubstr("Secret")),
                    HasSubstr("subTitle: expected a string, found an array.\nprompt counts "
                              "            absent: there is no file " +
                              data + "ApplicationRunningPromptData.plist\nno.such ")));
  EXPECT_THAT(shell("vexlo-patch facts --log-level info").errors,
              HasSubstr("Running application check is enabled"));
}

TEST_F(FactsCommandTest, ASearchThatFailedShowsNoApplicationAsNotRunning) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer needs descriptors itself";
#endif
  EXPECT_THAT(
      shell("ulimit -n 4; vexlo-patch facts --json --application a.b --all-applications").output,
      AllOf(HasSubstr(R"("applications":{},"allApplications":false)"),
            HasSubstr(R"("applications":"Too many open files")")));
  agent_tool::Facts facts;
  facts.reasons.emplace("applications", "why");
  EXPECT_THAT(agent_tool::factsAsTable(facts, agent_tool::Console()),
              HasSubstr("running applications  unknown: why\n"));
}

TEST_F(FactsCommandTest, TheNameIsOnlyInTheLineIfItIsGiven) {
  EXPECT_THAT(shell("vexlo-patch facts --json --name 'mac \"7\"'").output,
              HasSubstr(R"("name":"mac \"7\"",)"));
  EXPECT_THAT(shell("vexlo-patch facts --json").output, Not(HasSubstr(R"("name":)")));
}

}  // namespace
