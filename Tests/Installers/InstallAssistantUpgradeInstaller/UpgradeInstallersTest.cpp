#include <gmock/gmock.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "Tests/Fakes/FakeInstallerDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/IntelUpgradeInstaller.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/SiliconUpgradeInstaller.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kFolder = "Installers/InstallAssistantUpgradeInstaller/";
const std::string kApp = "/Applications/Install macOS Sonoma.app";
const std::string kCommand =
    "\"/Applications/Install macOS Sonoma.app/Contents/Resources/startosinstall\" "
    "--agreetolicense --forcequitapps --nointeraction";
const auto kFailure =
    PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed);

class UpgradeInstallersTest : public ::testing::Test {
 protected:
  const ScopedEnvironment languages{"LANGUAGE", "de_AT:en"};
  const ScopedEnvironment locale{"LC_ALL", "de_AT.UTF-8"};
  std::shared_ptr<FakeUpgradeInstallerDependencies> mac =
      std::make_shared<FakeUpgradeInstallerDependencies>();
  LogCapture log;
};

TEST_F(UpgradeInstallersTest, IntelRunsTheApplicationsTool) {
  mac->commands.answers = {{2, "no\nway"}};
  EXPECT_EQ(IntelUpgradeInstaller(kApp, mac).installMacOS(), kFailure);
  EXPECT_EQ(mac->commands.calls.at(0).command, kCommand);
  EXPECT_EQ(mac->commands.calls.at(0).launchPath, "/bin/sh");
  EXPECT_EQ(mac->commands.calls.at(0).pipeInput, std::nullopt);
  EXPECT_THAT(mac->events, ElementsAre("notified after command 0"));
  const auto origin = LoggedBy(kFolder + "IntelUpgradeInstaller", "installMacOS()");
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(origin, InfoLine("Starting installation of " + kApp +
                                                 ", intel. Machine locale language: "
                                                 "Optional(\"de-AT\").")),
                          AllOf(origin, InfoLine("Installation command: " + kCommand)),
                          AllOf(origin, InfoLine("Execution result: (exitCode: 2, output: "
                                                 "\"no\nway\", rawOutput: 6 bytes)")),
                          AllOf(origin, ErrorLine("Installation failed for " + kApp + "."))));
}

TEST_F(UpgradeInstallersTest, AppleSiliconGivesThePasswordAsInput) {
  mac->holdCredentials(Credentials("al$ice", "s3cret"));
  mac->commands.answers = {{0, ""}};
  EXPECT_EQ(SiliconUpgradeInstaller(kApp, mac).installMacOS(), PatchActionResult::success());
  const std::string command = kCommand + R"( --user "al\$ice" --stdinpass)";
  EXPECT_EQ(mac->commands.calls.at(0).command, command);
  EXPECT_EQ(mac->commands.calls.at(0).launchPath, "/bin/sh");
  EXPECT_EQ(mac->commands.calls.at(0).pipeInput, "s3cret");
  EXPECT_THAT(mac->events, ElementsAre("notified after command 0"));
  const auto origin = LoggedBy(kFolder + "SiliconUpgradeInstaller", "installMacOS(using:)");
  EXPECT_THAT(log.records(),
              ElementsAre(AllOf(InfoLine("Starting installation of " + kApp +
                                         ", silicon. Machine locale language: "
                                         "Optional(\"de-AT\")."),
                                LoggedBy(kFolder + "SiliconUpgradeInstaller", "installMacOS()")),
                          AllOf(origin, InfoLine("Installation command: " + command)),
                          AllOf(origin, InfoLine("Execution result: (exitCode: 0, output: "
                                                 "\"\", rawOutput: 0 bytes)"))));
}

TEST_F(UpgradeInstallersTest, OnlyTheExitStatusCounts) {
  mac->commands.answers = {{0, "Error installing updates"}, {137, "Preparing: 100.0%"}};
  EXPECT_EQ(IntelUpgradeInstaller(kApp, mac).installMacOS(), PatchActionResult::success());
  EXPECT_EQ(IntelUpgradeInstaller(kApp, mac).installMacOS(), kFailure);
}

TEST_F(UpgradeInstallersTest, AppleSiliconDoesNothingWithoutCredentials) {
  const auto notEntered = PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  EXPECT_EQ(SiliconUpgradeInstaller(kApp, mac).installMacOS(), notEntered);
  mac->holdCredentials(std::nullopt);
  EXPECT_EQ(SiliconUpgradeInstaller(kApp, mac).installMacOS(), notEntered);
  EXPECT_THAT(mac->commands.calls, IsEmpty());
  EXPECT_THAT(mac->events, IsEmpty());
}

TEST(DefaultUpgradeInstallerDependenciesTest, HoldCredentialsOnAppleSiliconOnly) {
  std::filesystem::create_directories(testAgentDirectories().file("base/run"));
  EXPECT_EQ(DefaultUpgradeInstallerDependencies::intel()->userCredentials(), nullptr);
  const LogCapture log;
  EXPECT_EQ(DefaultUpgradeInstallerDependencies::silicon(), nullptr);
  EXPECT_THAT(
      log.records(),
      Contains(AllOf(ErrorLine("Failed to establish connection with AgentService. Unable to get "
                               "user credentials."),
                     LoggedBy(kFolder + "UpgradeInstallerDependencies", "init(silicon:)"))));
  const vxutils::AgentServiceServer server(
      testAgentDirectories().file("base/run/agent-service.sock"),
      [](const std::string&) { return std::optional<std::string>("value"); });
  const auto silicon = DefaultUpgradeInstallerDependencies::silicon();
  ASSERT_NE(silicon, nullptr);
  EXPECT_EQ(silicon->userCredentials()->credentials(), Credentials("value", "value"));
}

}  // namespace
}  // namespace vexlo
