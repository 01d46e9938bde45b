// All log lines of an update's retry and of an upgrade, between commands, pauses and notifications.
#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>

#include "Tests/Fakes/Story.h"
#include "VexloPatchDeployment/Installers/InstallAssistantUpgradeInstaller/StartOSInstall.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Main/SoftwareUpdateInstallation.h"

namespace vexlo {
namespace {

using ::testing::ElementsAre;

struct FakeUsers final : UserSessionProvider {
  std::string currentConsoleUserName() override { return "alice"; }
  std::optional<std::string> loggedOnUsers() override { return "alice"; }
  std::optional<std::uint32_t> userID(const std::string& /*name*/) override { return 501; }
};

/// Everything but programs, users, credentials and updates is the production code.
template <typename Base>
class StoryDependencies : public Base, public CredentialsFetcher, public SoftwareUpdateLister {
 public:
  explicit StoryDependencies(Story& story) : tools(story), story_(story) {}
  std::optional<Credentials> credentials() override { return Credentials("alice", "secret"); }
  CommandResult fetchSoftwareUpdates() override {
    story_.events.emplace_back("softwareupdate --list");
    return {.exitCode = 0, .output = "Updates:\n* Label: macOS 14.6-23G1\n\tTitle: macOS\n"};
  }
  CredentialsFetcher* userCredentials() override { return this; }
  CommandExecutor& executor() override { return tools; }
  SoftwareUpdateNotifier& notifier() override { return notifier_; }
  std::optional<std::string> preferredLanguage() override { return "en"; }

  StoryExecutor tools;

 private:
  Story& story_;
  DefaultSoftwareUpdateNotifier notifier_;
};

class UpdateDependencies final : public StoryDependencies<SoftwareUpdateInstallerDependencies> {
 public:
  using StoryDependencies::StoryDependencies;
  SoftwareUpdateOutputAnalyser& outputValidator() override { return analyser_; }
  SoftwareUpdateLabelProvider& labelProvider() override { return labels_; }
  UserSessionProvider& userSessionProvider() override { return users_; }

 private:
  DefaultSoftwareUpdateOutputAnalyser analyser_;
  DefaultSoftwareUpdateLabel labels_{*this};
  FakeUsers users_;
};

/// One event a line.
std::string transcriptOf(const Story& story) {
  std::string lines;
  for (const std::string& event : story.events) {
    lines += event + '\n';
  }
  return lines;
}

TEST(InstallationStoryTest, RetryOfAnUpdate) {
  Story story;
  UpdateDependencies dependencies(story);
  dependencies.tools.answers = {{0, "Server not reachable"}, {0, "Downloaded"}, {1, "No"}};
  SiliconSoftwareUpdateInstaller installer(
      "14.6", "macOS Sonoma 23G1", dependencies, [&](auto time) { story.sleep(time); },
      [] { return 14; });
  EXPECT_EQ(installer.installMacOS(),
            PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
  EXPECT_EQ(
      transcriptOf(story),
      R"(info installMacOS(): Starting installation of Silicon Software Update for 14.6, Label: macOS Sonoma 23G1. Machine locale language: Optional("en").
info download(asUser:userSessionProvider:): Downloading macOS update macOS Sonoma 23G1 using command: /usr/sbin/softwareupdate --include-config-data --download "macOS Sonoma 23G1" --force --verbose --user "alice" --stdinpass.
$ /usr/sbin/softwareupdate --include-config-data --download "macOS Sonoma 23G1" --force --verbose --user "alice" --stdinpass < secret
info download(asUser:userSessionProvider:): Download status: 0, command output: Server not reachable.
error validate(_:): macOS download/install failed due to network error
info evaluate(using:_:): Default checking result: applyLater(softwareUpdateUnreachable).
info downloadAndInstallMacOS(using:): First try failed, trying to install again status: applyLater(softwareUpdateUnreachable).
pause of 30000 ms
softwareupdate --list
info label(for:): Software update list: ["Updates:", "* Label: macOS 14.6-23G1", "	Title: macOS"], count: 3.
info label(for:): Label found - "macOS 14.6-23G1".
info download(asUser:userSessionProvider:): Downloading macOS update macOS 14.6-23G1 using command: /usr/sbin/softwareupdate --include-config-data --download "macOS 14.6-23G1" --force --verbose --user "alice" --stdinpass.
$ /usr/sbin/softwareupdate --include-config-data --download "macOS 14.6-23G1" --force --verbose --user "alice" --stdinpass < secret
info download(asUser:userSessionProvider:): Download status: 0, command output: Downloaded.
info evaluate(using:_:): macOS macOS 14.6-23G1 download completed successfully.
info notifyUpdatesInProgress(): Showing update is in progress notification.
notification 19
pause of 5000 ms
info install(asUser:userSessionProvider:): Installing macOS update macOS 14.6-23G1 using command: /usr/sbin/softwareupdate --include-config-data --install "macOS 14.6-23G1" --force --verbose --restart --user "alice" --stdinpass.
$ /usr/sbin/softwareupdate --include-config-data --install "macOS 14.6-23G1" --force --verbose --restart --user "alice" --stdinpass < secret
info install(asUser:userSessionProvider:): Installation status: 1, command output: No.
error evaluate(using:_:): macOS macOS 14.6-23G1 installation failed, Marked as failure.
)");
}

TEST(InstallationStoryTest, FailedUpgrade) {
  Story story;
  StoryDependencies<UpgradeInstallerDependencies> dependencies(story);
  dependencies.tools.answers = {{3, "No"}};
  EXPECT_EQ(SiliconUpgradeInstaller("/I.app", dependencies).installMacOS(),
            PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
  EXPECT_EQ(
      transcriptOf(story),
      R"(info installMacOS(): Starting installation of /I.app, silicon. Machine locale language: Optional("en").
info notifyUpdatesInProgress(): Showing update is in progress notification.
notification 19
info installMacOS(using:): Installation command: "/I.app/Contents/Resources/startosinstall" --agreetolicense --forcequitapps --nointeraction --user "alice" --stdinpass
$ "/I.app/Contents/Resources/startosinstall" --agreetolicense --forcequitapps --nointeraction --user "alice" --stdinpass < secret
info installMacOS(using:): Execution result: (exitCode: 3, output: "No", rawOutput: 2 bytes)
error installMacOS(using:): Installation failed for /I.app.
)");
}

TEST(InstallationStoryTest, ToolsOutputIsLoggedLineByLineAndOnce) {
  Story story;
  EXPECT_EQ(TerminalUtil().run("echo one; echo two", "/bin/sh", std::nullopt).output, "one\ntwo\n");
  const std::string run =
      "info runCommand(_:inDirectory:launchPath:pipeInput:timeout:logOutputContinuously:"
      "shouldLogOutput:): ";
  EXPECT_THAT(story.events, ElementsAre(run + "one", run + "two"));
}

/// The first row that fits counts.
TEST(SoftwareUpdateOutputAnalyserTest, EarlierErrorsComeFirst) {
  const Story story;
  DefaultSoftwareUpdateOutputAnalyser analyser;
  const auto resultOf = [&](const char* output) { return analyser.validate(output); };
  EXPECT_EQ(resultOf("No such update. Error installing updates. Error downloading."),
            PatchActionResult::applyLater(PlainReason::macOSSoftwareUpdateDownloadFailed));
  EXPECT_EQ(resultOf("No such update. Error installing updates."),
            PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed));
  EXPECT_EQ(resultOf("Error downloading. Not enough free disk space."),
            PatchActionResult::applyLater(PlainReason::inSufficientDiskSpaceForSoftwareUpdate));
  EXPECT_EQ(resultOf("Not enough free disk space. Server not reachable"),
            PatchActionResult::applyLater(PlainReason::softwareUpdateUnreachable));
}

}  // namespace
}  // namespace vexlo
