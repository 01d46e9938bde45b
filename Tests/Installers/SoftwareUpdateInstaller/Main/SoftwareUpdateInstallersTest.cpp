#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AgentLibraries/vxutils/AgentServiceServer.h"
#include "Tests/Fakes/FakeInstallerDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TestAgentDirectories.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/IntelSoftwareUpdateInstaller.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SiliconSoftwareUpdateInstaller.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::string kFolder = "Installers/SoftwareUpdateInstaller/Main/";
const std::string kLabel = "macOS Sonoma 14.4.1-23E224";
const CommandResult kDone{0, "done"};
const CommandResult kFailed{1, "failed"};

class SoftwareUpdateInstallersTest : public ::testing::Test {
 protected:
  PatchActionResult installOn(bool silicon, std::int64_t macOSMajorVersion = 14,
                              const std::string& label = kLabel) {
    const auto sleeper = [this](std::chrono::milliseconds pause) {
      mac->events.push_back("slept " + std::to_string(pause.count()) + " ms");
    };
    if (silicon) {
      mac->holdCredentials(Credentials("alice", "s3cret"));
      return SiliconSoftwareUpdateInstaller("14.4.1", label, mac, sleeper, macOSMajorVersion)
          .installMacOS();
    }
    return IntelSoftwareUpdateInstaller("14.4.1", label, mac, sleeper, macOSMajorVersion)
        .installMacOS();
  }
  /// The commands that ran: a letter for the step, one for the account, and the label.
  [[nodiscard]] std::vector<std::string> steps() const {
    std::vector<std::string> steps;
    for (const auto& call : mac->commands.calls) {
      const std::size_t quote = call.command.find('"') + 1;
      steps.push_back(std::string(call.command.contains("--download") ? "download " : "install ") +
                      (call.command.starts_with("launchctl asuser ") ? "as user " : "as root ") +
                      call.command.substr(quote, call.command.find('"', quote) - quote));
    }
    return steps;
  }

  std::shared_ptr<FakeSoftwareUpdateInstallerDependencies> mac =
      std::make_shared<FakeSoftwareUpdateInstallerDependencies>();
  LogCapture log;
};

TEST_F(SoftwareUpdateInstallersTest, ASuccessNeedsOneAttempt) {
  for (const bool silicon : {false, true}) {
    mac->commands.answers = {kDone, kDone};
    mac->commands.calls.clear();
    mac->events.clear();
    EXPECT_EQ(installOn(silicon), PatchActionResult::success());
    EXPECT_THAT(steps(), ElementsAre("download as root " + kLabel, "install as root " + kLabel));
    EXPECT_THAT(mac->events, ElementsAre("notified after command 1", "slept 5000 ms"));
    EXPECT_THAT(mac->labels.builds, IsEmpty());
  }
}

TEST_F(SoftwareUpdateInstallersTest, TheVersionDecidesTheAccountOfEachStep) {
  struct Case {
    std::int64_t version;
    const char* intelDownload;
    const char* intelInstall;
    const char* siliconBoth;
  };
  const std::vector<Case> cases = {{11, "user", "user", "user"}, {12, "user", "user", "user"},
                                   {13, "root", "root", "root"}, {25, "root", "root", "root"},
                                   {26, "root", "user", "user"}, {27, "root", "user", "user"}};
  for (const auto& [version, intelDownload, intelInstall, siliconBoth] : cases) {
    for (const bool silicon : {false, true}) {
      mac->commands.answers = {kDone, kDone};
      mac->commands.calls.clear();
      installOn(silicon, version, "label");
      EXPECT_THAT(steps(), ElementsAre(std::string("download as ") +
                                           (silicon ? siliconBoth : intelDownload) + " label",
                                       std::string("install as ") +
                                           (silicon ? siliconBoth : intelInstall) + " label"))
          << version;
    }
  }
}

TEST_F(SoftwareUpdateInstallersTest, AFailureIsTriedOnceMoreWithTheLabelOfTheMoment) {
  for (const bool silicon : {false, true}) {
    log.clear();
    mac = std::make_shared<FakeSoftwareUpdateInstallerDependencies>();
    mac->labels.answer = "macOS Sonoma 14.4.1 again-23E224";
    mac->commands.answers = {kFailed, kDone, kFailed};
    EXPECT_EQ(installOn(silicon),
              PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
    EXPECT_THAT(steps(), ElementsAre("download as root " + kLabel,
                                     "download as root macOS Sonoma 14.4.1 again-23E224",
                                     "install as root macOS Sonoma 14.4.1 again-23E224"));
    EXPECT_THAT(mac->events,
                ElementsAre("slept 30000 ms", "notified after command 2", "slept 5000 ms"));
    EXPECT_THAT(mac->labels.builds, ElementsAre("14.4.1-23E224"));
    EXPECT_THAT(log.records(),
                Contains(AllOf(InfoLine("First try failed, trying to install again status: "
                                        "applyLater(macOSSoftwareUpdateDownloadFailed)."),
                               silicon ? LoggedBy(kFolder + "SiliconSoftwareUpdateInstaller",
                                                  "downloadAndInstallMacOS(using:)")
                                       : LoggedBy(kFolder + "IntelSoftwareUpdateInstaller",
                                                  "downloadAndInstallMacOS()"))));
    EXPECT_EQ(silicon ? mac->fetcher->timesAsked : 1, 1);
    EXPECT_FALSE(log.mentions("s3cret"));
  }
}

TEST_F(SoftwareUpdateInstallersTest, WithoutALabelTheFirstResultCounts) {
  for (const bool silicon : {false, true}) {
    mac->commands.answers = {kDone, kFailed};
    EXPECT_EQ(installOn(silicon, 14, "unlabelled"),
              PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
    EXPECT_EQ(mac->labels.builds.back(), "unlabelled");
    EXPECT_THAT(log.records().back(),
                AllOf(ErrorLine("Unable to get macOS build version/ label. Aborting next try."),
                      silicon ? LoggedBy(kFolder + "SiliconSoftwareUpdateInstaller",
                                         "downloadAndInstallMacOS(using:)")
                              : LoggedBy(kFolder + "IntelSoftwareUpdateInstaller",
                                         "downloadAndInstallMacOS()")));
  }
}

TEST_F(SoftwareUpdateInstallersTest, SayWhatTheyInstallAndInWhichLanguage) {
  const ScopedEnvironment languages("LANGUAGE", "de_AT:en");
  const ScopedEnvironment locale("LC_ALL", "de_AT.UTF-8");
  mac->commands.answers = {kDone, kDone, kDone, kDone};
  installOn(false);
  EXPECT_THAT(log.records().front(),
              AllOf(InfoLine("Starting installation of Intel Software Update for 14.4.1, label: " +
                             kLabel + ". Machine locale language: Optional(\"de-AT\")."),
                    LoggedBy(kFolder + "IntelSoftwareUpdateInstaller", "installMacOS()")));
  log.clear();
  installOn(true);
  EXPECT_THAT(
      log.records().front(),
      AllOf(InfoLine("Starting installation of Silicon Software Update for 14.4.1, Label: " +
                     kLabel + ". Machine locale language: Optional(\"de-AT\")."),
            LoggedBy(kFolder + "SiliconSoftwareUpdateInstaller", "installMacOS()")));
}

TEST_F(SoftwareUpdateInstallersTest, AppleSiliconNeedsCredentials) {
  const auto install = [&] {
    return SiliconSoftwareUpdateInstaller("14.4.1", kLabel, mac, nullptr, 14).installMacOS();
  };
  const auto notEntered = PatchActionResult::applyLater(PlainReason::credentialsNotEntered);
  EXPECT_EQ(install(), notEntered);
  mac->holdCredentials(std::nullopt);
  EXPECT_EQ(install(), notEntered);
  EXPECT_THAT(mac->commands.calls, IsEmpty());
  EXPECT_THAT(mac->events, IsEmpty());
}

TEST(DefaultSoftwareUpdateInstallerDependenciesTest, HoldCredentialsOnAppleSiliconOnly) {
  std::filesystem::create_directories(testAgentDirectories().file("base/run"));
  EXPECT_EQ(DefaultSoftwareUpdateInstallerDependencies::intel()->userCredentials(), nullptr);
  const LogCapture log;
  EXPECT_EQ(DefaultSoftwareUpdateInstallerDependencies::silicon(), nullptr);
  EXPECT_THAT(
      log.records(),
      Contains(AllOf(ErrorLine("Failed to establish connection with AgentService. Unable "
                               "to get user credentials."),
                     LoggedBy(kFolder + "SoftwareUpdateInstallerDependencies", "init(silicon:)"))));
  const vxutils::AgentServiceServer server(
      testAgentDirectories().file("base/run/agent-service.sock"),
      [](const std::string&) { return std::optional<std::string>("value"); });
  const auto silicon = DefaultSoftwareUpdateInstallerDependencies::silicon();
  ASSERT_NE(silicon, nullptr);
  EXPECT_EQ(silicon->userCredentials()->credentials(), Credentials("value", "value"));
}

}  // namespace
}  // namespace vexlo
