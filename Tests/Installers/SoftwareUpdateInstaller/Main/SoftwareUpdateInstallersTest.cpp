#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Fakes/FakeInstallerDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/IntelSoftwareUpdateInstaller.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SiliconSoftwareUpdateInstaller.h"

namespace vexlo {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

const std::string kSonoma = "macOS Sonoma 14.4.1-23E224";
const CommandResult kDone{0, "done"};

/// Each test runs for an Intel Mac and for one of Apple silicon.
class SoftwareUpdateInstallersTest : public ::testing::TestWithParam<bool> {
 protected:
  SoftwareUpdateInstallersTest() {
    if (silicon) {
      mac->holdCredentials(Credentials("alice", "s3cret"));
    }
  }
  PatchActionResult install(std::int64_t macOSMajorVersion = 14) {
    const auto sleeper = [this](std::chrono::milliseconds pause) {
      mac->events.push_back("slept " + std::to_string(pause.count()) + " ms");
    };
    if (silicon) {
      return SiliconSoftwareUpdateInstaller("14.4.1", kSonoma, mac, sleeper, macOSMajorVersion)
          .installMacOS();
    }
    return IntelSoftwareUpdateInstaller("14.4.1", kSonoma, mac, sleeper, macOSMajorVersion)
        .installMacOS();
  }
  /// The commands that ran: the step, the account, and the label.
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

  const bool silicon = GetParam();
  std::shared_ptr<FakeSoftwareUpdateInstallerDependencies> mac =
      std::make_shared<FakeSoftwareUpdateInstallerDependencies>();
  LogCapture log;
};
INSTANTIATE_TEST_SUITE_P(Silicon, SoftwareUpdateInstallersTest, ::testing::Bool());

TEST_P(SoftwareUpdateInstallersTest, ASuccessNeedsOneAttemptWithTheAccountsOfTheVersion) {
  for (const int version : {11, 12, 13, 25, 26, 27}) {
    mac->commands.answers = {kDone, kDone};
    mac->commands.calls.clear();
    EXPECT_EQ(install(version), PatchActionResult::success());
    const bool installsAsUser = version < 13 || version > 25;
    const bool downloadsAsUser = version < 13 || (silicon && version > 25);
    EXPECT_THAT(steps(),
                ElementsAre((downloadsAsUser ? "download as user " : "download as root ") + kSonoma,
                            (installsAsUser ? "install as user " : "install as root ") + kSonoma))
        << version;
  }
}

TEST_P(SoftwareUpdateInstallersTest, AFailureIsTriedOnceMoreWithTheLabelOfTheMoment) {
  mac->labels.answer = "again-23E224";
  mac->commands.answers = {{1, "failed"}, kDone, {1, "failed"}};
  EXPECT_EQ(install(),
            PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
  EXPECT_THAT(steps(), ElementsAre("download as root " + kSonoma, "download as root again-23E224",
                                   "install as root again-23E224"));
  EXPECT_THAT(mac->events,
              ElementsAre("slept 30000 ms", "notified after command 2", "slept 5000 ms"));
  EXPECT_THAT(mac->labels.builds, ElementsAre("14.4.1-23E224"));
  EXPECT_THAT(log.records(), Contains(InfoLine("First try failed, trying to install again status: "
                                               "applyLater(macOSSoftwareUpdateDownloadFailed).")));
}

TEST_P(SoftwareUpdateInstallersTest, WithoutALabelTheFirstResultCounts) {
  mac->commands.answers = {{1, "failed"}};
  EXPECT_EQ(install(),
            PatchActionResult::applyLater(PlainReason::macOSSoftwareUpdateDownloadFailed));
}

}  // namespace
}  // namespace vexlo
