#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Fakes/FakeInstallerDependencies.h"
#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSDownloader.h"
#include "VexloPatchDeployment/Installers/SoftwareUpdateInstaller/Common/MacOSInstaller.h"

namespace vexlo {
namespace {

using ::testing::AllOf;

/// What a shell could take for its own.
const std::string kLabel = "macOS $(Sonoma) 14.4.1-23E224";
const std::string kQuotedLabel = R"(macOS \$(Sonoma) 14.4.1-23E224)";
const auto kIntel = SoftwareUpdateAuthContext::intel();
const auto kSilicon = SoftwareUpdateAuthContext::silicon({R"(al"ice)", "s3`cret"});

enum class Step : std::uint8_t { download, install };

class MacOSDownloaderAndInstallerTest : public ::testing::Test {
 protected:
  PatchActionResult run(Step step, const SoftwareUpdateAuthContext& context, std::int64_t version,
                        bool asUser, CommandResult answer = {}) {
    log.clear();
    mac.commands.calls.clear();
    mac.commands.answers = {std::move(answer)};
    if (step == Step::download) {
      DefaultMacOSDownloader downloader(kLabel, context, mac.executor(), mac.outputValidator(),
                                        version);
      return downloader.download(asUser, mac.session);
    }
    DefaultMacOSInstaller installer(kLabel, context, mac.executor(), mac.outputValidator(),
                                    version);
    return installer.install(asUser, mac.session);
  }
  FakeSoftwareUpdateInstallerDependencies mac;
  LogCapture log;
};

TEST_F(MacOSDownloaderAndInstallerTest, TheCommandLinesAreThese) {
  const std::string tool = "/usr/sbin/softwareupdate --include-config-data ";
  const std::string download = tool + "--download \"" + kQuotedLabel + "\" --force --verbose";
  const std::string install =
      tool + "--install \"" + kQuotedLabel + "\" --force --verbose --restart";
  const std::string asUser = "launchctl asuser 0 sudo ";
  const std::string user = R"( --user "al\"ice" --stdinpass)";
  struct Case {
    Step step;
    bool asUser;
    const SoftwareUpdateAuthContext& context;
    std::int64_t version;
    std::string logged;
    std::string behind;  // of the line that is run, after what is logged
    std::optional<std::string> input;
  };
  mac.session.consoleUser = "root";  // an account that every machine has
  for (const auto& row : std::vector<Case>{
           {Step::download, false, kIntel, 12, download, "", {}},
           {Step::download, true, kIntel, 12, asUser + download, "", {}},
           {Step::download, false, kSilicon, 13, download + user, "", "s3`cret"},
           {Step::download, false, kSilicon, 12, download + user, R"( "s3\`cret")", {}},
           {Step::install, true, kSilicon, 26, text(asUser, install, user), "", "s3`cret"},
           {Step::install,
            true,
            kSilicon,
            12,
            text(asUser, install, user),
            R"( "s3\`cret")",
            {}}}) {
    run(row.step, row.context, row.version, row.asUser);
    EXPECT_EQ(mac.commands.calls.at(0),
              (FakeCommandExecutor::Call{row.logged + row.behind, "/bin/sh", row.input}));
    const std::string verb = row.step == Step::download ? "Downloading" : "Installing";
    EXPECT_THAT(log.records().front(), InfoLine(text(verb, " macOS update ", kLabel,
                                                     " using command: ", row.logged, ".")));
    EXPECT_FALSE(log.mentions("cret"));
  }
}

TEST_F(MacOSDownloaderAndInstallerTest, OutputThenExitStatusDecideTheResult) {
  const auto done = PatchActionResult::success();
  const auto noDownload =
      PatchActionResult::applyLater(PlainReason::macOSSoftwareUpdateDownloadFailed);
  const auto noInstallation =
      PatchActionResult::failure(PlainReason::macOSSoftwareUpdateInstallationFailed);
  struct Case {
    CommandResult answer;
    PatchActionResult download;
    PatchActionResult install;
  };
  for (const auto& [answer, download, install] :
       std::vector<Case>{{{0, "Error downloading"}, noDownload, noDownload},
                         {{0, "Downloaded"}, done, done},
                         {{0, "No such update"}, noDownload, noInstallation},
                         {{143, ""}, noDownload, noInstallation}}) {
    EXPECT_EQ(run(Step::download, kIntel, 14, false, answer), download) << answer.output;
    EXPECT_EQ(run(Step::install, kIntel, 14, false, answer), install) << answer.output;
  }
  const std::string file = "Installers/SoftwareUpdateInstaller/Common/MacOSInstaller";
  EXPECT_THAT(log.records().at(1), AllOf(InfoLine("Installation status: 143, command output: ."),
                                         LoggedBy(file, "install(asUser:userSessionProvider:)")));
  EXPECT_THAT(log.records().at(2),
              AllOf(ErrorLine("macOS " + kLabel + " installation failed, Marked as failure."),
                    LoggedBy(file, "evaluate(using:_:)")));
  run(Step::download, kIntel, 14, false, {7, ""});
  EXPECT_THAT(log.records().back(),
              ErrorLine("macOS " + kLabel + " download failed, Marked as failure."));
  run(Step::download, kIntel, 14, false, {1, "Error downloading"});
  EXPECT_THAT(log.records().at(1),
              InfoLine("Download status: 1, command output: Error downloading."));
  EXPECT_THAT(log.records().back(), InfoLine("Default checking result: "
                                             "applyLater(macOSSoftwareUpdateDownloadFailed)."));
}

}  // namespace
}  // namespace vexlo
