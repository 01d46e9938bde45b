#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "Tests/Fakes/FakeInstallerDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/IntelUpgradeInstaller.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/SiliconUpgradeInstaller.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;

const std::string kUpgradeFolder = "Installers/InstallAssistantUpgradeInstaller/";
const std::string kApp = "/Applications/Install macOS Sonoma.app";
const std::string kCommand =
    "\"/Applications/Install macOS Sonoma.app/Contents/Resources/startosinstall\" "
    "--agreetolicense --forcequitapps --nointeraction";

class UpgradeInstallersTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeUpgradeInstallerDependencies> mac =
      std::make_shared<FakeUpgradeInstallerDependencies>();
  LogCapture log;
};

TEST_F(UpgradeInstallersTest, IntelRunsTheToolAndOnlyItsExitStatusCounts) {
  mac->commands.answers = {{0, "Error installing updates"}, {137, "no\nway"}};
  EXPECT_EQ(IntelUpgradeInstaller(kApp, mac).installMacOS(), PatchActionResult::success());
  EXPECT_EQ(mac->commands.calls.at(0), (FakeCommandExecutor::Call{kCommand, "/bin/sh", {}}));
  EXPECT_THAT(mac->events, ElementsAre("notified after command 0"));
  log.clear();
  EXPECT_EQ(IntelUpgradeInstaller(kApp, mac).installMacOS(),
            PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
  const auto origin = LoggedBy(kUpgradeFolder + "IntelUpgradeInstaller", "installMacOS()");
  EXPECT_THAT(log.records(),
              ElementsAre(origin, AllOf(origin, InfoLine("Installation command: " + kCommand)),
                          AllOf(origin, InfoLine("Execution result: (exitCode: 137, output: "
                                                 "\"no\nway\", rawOutput: 6 bytes)")),
                          AllOf(origin, ErrorLine("Installation failed for " + kApp + "."))));
}

TEST_F(UpgradeInstallersTest, AppleSiliconGivesThePasswordAsInput) {
  mac->holdCredentials(Credentials("al$ice", "s3cret"));
  mac->commands.answers = {{0, ""}};
  EXPECT_EQ(SiliconUpgradeInstaller(kApp, mac).installMacOS(), PatchActionResult::success());
  const std::string command = kCommand + R"( --user "al\$ice" --stdinpass)";
  EXPECT_EQ(mac->commands.calls.at(0), (FakeCommandExecutor::Call{command, "/bin/sh", "s3cret"}));
  EXPECT_THAT(log.records().back(),
              LoggedBy(kUpgradeFolder + "SiliconUpgradeInstaller", "installMacOS(using:)"));
  EXPECT_FALSE(log.mentions("s3cret"));
}

}  // namespace
}  // namespace vexlo
