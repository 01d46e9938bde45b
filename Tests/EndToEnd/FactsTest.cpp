// `vexlo-patch facts` in simulated Macs.
#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "Tests/EndToEnd/MacRun.h"

namespace end_to_end {
namespace {

using testing::HasSubstr;
using testing::Not;
using FactsTest = SimulatedMacTest;

struct FactsOfAMac {
  std::string scenario;
  Texts settings;
  Texts options;
  Texts parts;  ///< Must occur in the JSON output.
};

TEST_F(FactsTest, ShowsTheMacWithoutWaitingForHungTools) {
  const std::string data = "/Library/Application Support/VexloAgent/data/";
  for (const FactsOfAMac& mac : std::vector<FactsOfAMac>{
           {.scenario = "patch-day",
            .options = {"--ask-agent"},
            .parts = {R"("macOSVersion":"14.4.1","macOSMajorVersion":14,)",
                      R"("powerSource":{"kind":"battery","percentage":82},)",
                      R"("consoleUser":"alice","consoleUserID":501,"loggedOnUsers":"alice",)",
                      R"("mdmEnrollment":"user_approved",)",
                      R"("serviceAnswers":true,"credentialsStored":true})",
                      R"("customization":{"file":")" + data +
                          R"(ApplicationRunningPromptCustomization.plist","values":)"
                          R"({"allowScreenGrab":true,"numberOfSkipAttempts":3}})",
                      R"("inForce":{"alwaysKillApps":false,"prompt":true,)",
                      R"("com.apple.Safari":[{"name":"Safari","pid":)",
                      R"("executable":"/Applications/Safari.app/Contents/MacOS/Safari"}])"}},
           {.scenario = "older-sdk", .parts = {R"("macOSVersion":"26.4","macOSMajorVersion":26,)"}},
           {.scenario = "several-batteries",
            .parts = {R"("powerSource":{"kind":"battery","percentage":20},)",
                      R"("com.apple.Safari":[])"}},
           {.scenario = "no-agent-service",
            .parts = {R"("serviceAnswers":false,"credentialsStored":null})",
                      R"("agentService":"Unable to reach the agent)"}},
           {.scenario = "healthy",
            .settings = {"agent service/state=silent", "profiles/takes=60 s"},
            .parts = {R"("mdmEnrollment":null,)", R"("mdmEnrollment":"/usr/bin/profiles failed)",
                      "the service accepted the request but didn't answer"}}}) {
    Texts command;
    for (const std::string& setting : mac.settings) {
      command.insert(command.end(), {"--set", setting});
    }
    command.insert(command.end(), {mac.scenario, "--", programFolder() + "/vexlo-patch", "facts",
                                   "--json", "--application", "com.apple.Safari"});
    const auto began = std::chrono::steady_clock::now();
    const platform::ProcessResult run = ran("enter", command + mac.options);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    SCOPED_TRACE(mac.scenario + " after " + std::to_string(took.count()) + " s");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_LT(took, std::chrono::seconds(5));  // less than one on an idle machine
    for (const std::string& part : mac.parts) {
      EXPECT_THAT(run.output, HasSubstr(part));
    }
    EXPECT_THAT(run.output, Not(HasSubstr(kPassword)));
  }
}

}  // namespace
}  // namespace end_to_end
