#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AgentLibraries/vxutils/TerminalUtil.h"
#include "Tests/Fakes/FakeInstallerDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSInstaller.h"

namespace vexlo {
namespace {

using ::testing::AllOf;

const std::string kLabel = "macOS Sonoma 14.4.1-23E224";
const auto kIntel = SoftwareUpdateAuthContext::intel();
const auto kSilicon = SoftwareUpdateAuthContext::silicon({"alice", "s3cret"});
const std::string kFolder = "Installers/SoftwareUpdateInstaller/Common/";

enum class Step : std::uint8_t { download, install };

class MacOSDownloaderAndInstallerTest : public ::testing::Test {
 protected:
  PatchActionResult run(Step step, const SoftwareUpdateAuthContext& context, std::int64_t version,
                        bool asUser, CommandResult answer = {}) {
    log.clear();
    mac.commands.calls.clear();
    mac.commands.answers = {std::move(answer)};
    if (step == Step::download) {
      DefaultMacOSDownloader downloader(label, context, mac.executor(), mac.outputValidator(),
                                        version);
      return downloader.download(asUser, mac.session);
    }
    DefaultMacOSInstaller installer(label, context, mac.executor(), mac.outputValidator(), version);
    return installer.install(asUser, mac.session);
  }
  [[nodiscard]] const FakeCommandExecutor::Call& call() const { return mac.commands.calls.at(0); }

  std::string label = kLabel;
  FakeSoftwareUpdateInstallerDependencies mac;
  LogCapture log;
};

struct LineCase {
  Step step;
  bool asUser;
  const SoftwareUpdateAuthContext& context;
  std::int64_t version;
  std::string logged;
  std::string behind;  // of the line that is run, after what is logged
  std::optional<std::string> input;
};

TEST_F(MacOSDownloaderAndInstallerTest, TheCommandLinesAreThese) {
  const std::string tool = "/usr/sbin/softwareupdate --include-config-data ";
  const std::string download = tool + "--download \"" + kLabel + "\" --force --verbose";
  const std::string install = tool + "--install \"" + kLabel + "\" --force --verbose --restart";
  const std::string asRootUser = "launchctl asuser 0 sudo ";
  const std::string credentials = " --user \"alice\" --stdinpass";
  const std::vector<LineCase> cases = {
      {Step::download, false, kIntel, 12, download, "", std::nullopt},
      {Step::download, true, kIntel, 12, asRootUser + download, "", std::nullopt},
      {Step::download, false, kSilicon, 14, download + credentials, "", "s3cret"},
      {Step::download, true, kSilicon, 13, asRootUser + download + credentials, "", "s3cret"},
      {Step::download, false, kSilicon, 12, download + credentials, " \"s3cret\"", std::nullopt},
      {Step::install, false, kIntel, 26, install, "", std::nullopt},
      {Step::install, true, kIntel, 26, asRootUser + install, "", std::nullopt},
      {Step::install, true, kSilicon, 26, asRootUser + install + credentials, "", "s3cret"},
      {Step::install, true, kSilicon, 12, asRootUser + install + credentials, " \"s3cret\"",
       std::nullopt},
  };
  mac.session.consoleUser = "root";  // an account that every machine has
  for (const auto& [step, asUser, context, version, logged, behind, input] : cases) {
    run(step, context, version, asUser);
    EXPECT_EQ(call().command, logged + behind);
    EXPECT_EQ(call().launchPath, "/bin/sh");
    EXPECT_EQ(call().pipeInput, input) << logged;
    const std::string verb = step == Step::download ? "Downloading" : "Installing";
    EXPECT_THAT(log.records().front(),
                InfoLine(text(verb, " macOS update ", kLabel, " using command: ", logged, ".")));
    EXPECT_FALSE(log.mentions("s3cret"));
  }
}

TEST_F(MacOSDownloaderAndInstallerTest, AConsoleUserWithoutAnAccountHasNoId) {
  mac.session.consoleUser = "nobody of that name; touch /tmp/x";
  run(Step::install, kIntel, 12, true);
  EXPECT_TRUE(call().command.starts_with("launchctl asuser  sudo /usr/sbin/softwareupdate "));
}

TEST_F(MacOSDownloaderAndInstallerTest, TheShellReadsHostileTextsAsTheyAre) {
  label = "a\"; echo no; \"$(echo no)`echo no`\\$HOME\\\n!! b";
  const std::string password = "p\"'w`id`$HOME\\ ";
  const auto context = SoftwareUpdateAuthContext::silicon({"al\"ice$(id)\\", password});
  run(Step::download, context, 12, false);
  std::string line = call().command;
  line.replace(0, std::string("/usr/sbin/softwareupdate").size(), "printf '<%s>'");
  EXPECT_EQ(TerminalUtil().run(line, "/bin/sh", std::nullopt).output,
            "<--include-config-data><--download><" + label +
                "><--force><--verbose><--user><al\"ice$(id)\\><--stdinpass><" + password + ">");
}

TEST_F(MacOSDownloaderAndInstallerTest, OutputThenExitStatusDecideTheResult) {
  const auto later = [](PlainReason reason) { return PatchActionResult::applyLater(reason); };
  const auto downloadFailed = later(PlainReason::macOSSoftwareUpdateDownloadFailed);
  const auto installationFailed =
      PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed);
  struct Case {
    CommandResult answer;
    PatchActionResult download;
    PatchActionResult install;
  };
  const std::vector<Case> cases = {
      {{0, "Downloaded: macOS"}, PatchActionResult::success(), PatchActionResult::success()},
      {{1, "Failed to authenticate"}, downloadFailed, installationFailed},
      {{143, ""}, downloadFailed, installationFailed},
      {{0, "No such update"}, downloadFailed, installationFailed},
      {{1, "Not Enough Free Disk Space"},
       later(PlainReason::inSufficientDiskSpaceForSoftwareUpdate),
       later(PlainReason::inSufficientDiskSpaceForSoftwareUpdate)},
      {{0, "Error installing updates"}, installationFailed, installationFailed},
      {{0, "Error downloading"}, downloadFailed, downloadFailed},
      {{0, "Server not reachable"},
       later(PlainReason::softwareUpdateUnreachable),
       later(PlainReason::softwareUpdateUnreachable)},
  };
  for (const auto& [answer, download, install] : cases) {
    EXPECT_EQ(run(Step::download, kIntel, 14, false, answer), download) << answer.output;
    EXPECT_EQ(run(Step::install, kIntel, 14, false, answer), install) << answer.output;
  }
}

TEST_F(MacOSDownloaderAndInstallerTest, TheDownloaderLogsWhatItDecides) {
  const auto status = [](const char* code, const char* output) {
    return AllOf(
        InfoLine("Download status: " + std::string(code) + ", command output: " + output + "."),
        LoggedBy(kFolder + "MacOSDownloader", "download(asUser:userSessionProvider:)"));
  };
  const auto evaluation = LoggedBy(kFolder + "MacOSDownloader", "evaluate(using:_:)");
  run(Step::download, kIntel, 14, false, {0, "done"});
  EXPECT_THAT(log.records().at(1), status("0", "done"));
  EXPECT_THAT(log.records().at(2),
              AllOf(evaluation, InfoLine("macOS " + kLabel + " download completed successfully.")));
  run(Step::download, kIntel, 14, false, {7, ""});
  EXPECT_THAT(log.records().at(1), status("7", ""));
  EXPECT_THAT(
      log.records().at(2),
      AllOf(evaluation, ErrorLine("macOS " + kLabel + " download failed, Marked as failure.")));
  run(Step::download, kIntel, 14, false, {1, "Error downloading"});
  EXPECT_THAT(log.records().back(),
              AllOf(evaluation, InfoLine("Default checking result: "
                                         "applyLater(macOSSoftwareUpdateDownloadFailed).")));
}

TEST_F(MacOSDownloaderAndInstallerTest, TheInstallerLogsWhatItDecides) {
  const std::string file = kFolder + "MacOSInstaller";
  const auto evaluation = LoggedBy(file, "evaluate(using:_:)");
  run(Step::install, kIntel, 14, false, {0, "done"});
  EXPECT_THAT(log.records().at(1), AllOf(InfoLine("Installation status: 0, command output: done."),
                                         LoggedBy(file, "install(asUser:userSessionProvider:)")));
  EXPECT_THAT(
      log.records().at(2),
      AllOf(evaluation, InfoLine("macOS " + kLabel + " installation completed successfully.")));
  run(Step::install, kIntel, 14, false, {1, "No such update"});
  EXPECT_THAT(
      log.records().back(),
      AllOf(evaluation, ErrorLine("macOS " + kLabel + " installation failed, Marked as failure.")));
  run(Step::install, kIntel, 14, false, {1, "Error downloading"});
  EXPECT_EQ(log.records().back().function, "validate(_:)");  // the analyser's own line is the last
}

}  // namespace
}  // namespace vexlo
