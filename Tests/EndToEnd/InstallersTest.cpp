// macOS updates and upgrades: command lines, users, passwords, the second try, and every failure.
#include <gmock/gmock.h>

#include <algorithm>

#include "Tests/EndToEnd/MacRun.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::StartsWith;

constexpr const char* kProcessor = "PatchActions/Main/ProcessPatchActions";
const std::string kFolder = "Installers/SoftwareUpdateInstaller/";
const std::string kLabel = "macOS Sonoma 14.5-23F79";
const std::string kUpdate = "2007=14.5 \"" + kLabel + "\"";
/// Its last word is in no line of the list: no second try.
const std::string kUnlisted = "2007=14.5 \"macOS Sonoma 14.5-00X00\"";
const std::string kNoSecondTry = "Unable to get macOS build version/ label. Aborting next try.";

/// Which of the two steps of an update.
struct Step {
  const char* option;
  const char* tail;
  const char* beginning;
  std::string file;
  const char* function;
};
const Step kDownload{"--download", " --force --verbose", "Downloading",
                     kFolder + "Common/MacOSDownloader", "download(asUser:userSessionProvider:)"};
const Step kInstall{"--install", " --force --verbose --restart", "Installing",
                    kFolder + "Common/MacOSInstaller", "install(asUser:userSessionProvider:)"};

/// The calls by which a step reaches the tool, and what the tool gets.
void expectStep(const Ended& mac, const Step& step, bool asUser, bool silicon, int version,
                std::size_t& next) {
  const std::string command = std::string(asUser ? "launchctl asuser 501 sudo " : "") +
                              "/usr/sbin/softwareupdate --include-config-data " + step.option +
                              " \"" + kLabel + "\"" + step.tail +
                              (silicon ? " --user \"alice\" --stdinpass" : "");
  EXPECT_THAT(mac.log, Contains(info(step.file, step.function,
                                     std::string(step.beginning) + " macOS update " + kLabel +
                                         " using command: " + command + ".")));
  if (asUser) {
    ASSERT_LT(next + 1, mac.calls.size());
    EXPECT_THAT(commandLine(mac.calls[next++]),
                StartsWith("launchctl asuser 501 sudo /usr/sbin/softwareupdate "));
    EXPECT_THAT(commandLine(mac.calls[next++]), StartsWith("sudo /usr/sbin/softwareupdate "));
  }
  ASSERT_LT(next, mac.calls.size());
  const Call& tool = mac.calls[next++];
  const bool onCommandLine = silicon && version <= 12;
  EXPECT_EQ(commandLine(tool), "softwareupdate --include-config-data " + std::string(step.option) +
                                   " \"" + kLabel + "\"" + step.tail +
                                   (silicon ? " --user alice --stdinpass" : "") +
                                   (onCommandLine ? " \"" + std::string(kPassword) + "\"" : ""));
  EXPECT_EQ(tool.input,
            silicon && !onCommandLine ? std::optional(std::string(kPassword)) : std::nullopt);
  EXPECT_EQ(tool.user, "root");
  EXPECT_EQ(tool.session, asUser ? std::optional<std::string>("501") : std::nullopt);
}

const MacTests users([] {
  for (const bool silicon : {true, false}) {
    for (const int version : {11, 12, 13, 14, 15, 26}) {
      addMacTest(
          "UpdateAsUser", (silicon ? "SiliconOn" : "IntelOn") + std::to_string(version),
          action(kUpdate, {"mac/version=" + std::to_string(version) + ".1"},
                 silicon ? "apple-silicon" : "intel"),
          [=](const Ended& mac) {
            EXPECT_THAT(mac.results, ElementsAre("2007 success"));
            std::size_t next = 0;
            const bool always = version < 13;
            expectStep(mac, kDownload, always || (silicon && version >= 26), silicon, version,
                       next);
            expectStep(mac, kInstall, always || version >= 26, silicon, version, next);
            EXPECT_EQ(next, mac.calls.size());
            EXPECT_THAT(
                mac.log,
                IsSupersetOf(
                    {info(kFolder + (silicon ? "Main/SiliconSoftwareUpdateInstaller"
                                             : "Main/IntelSoftwareUpdateInstaller"),
                          "installMacOS()",
                          std::string("Starting installation of ") +
                              (silicon ? "Silicon" : "Intel") + " Software Update for 14.5, " +
                              (silicon ? "Label" : "label") + ": " + kLabel +
                              ". Machine locale language: Optional(\"en-US\")."),
                     info(kFolder + "Common/SoftwareUpdateNotifier", "notifyUpdatesInProgress()",
                          "Showing update is in progress notification."),
                     info(kDownload.file, "evaluate(using:_:)",
                          "macOS " + kLabel + " download completed successfully."),
                     info(kInstall.file, "evaluate(using:_:)",
                          "macOS " + kLabel + " installation completed successfully.")}));
            EXPECT_GT(mac.seconds, 5);
          });
    }
  }
  addMacTest("UpdateAsUser", "AnUnreadableVersionCountsAs12",
             action(kUpdate, {"mac/version=unreadable"}, "intel"), [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2007 success"));
               EXPECT_THAT(mac.log,
                           Contains(error("Common/PatchDeploymentConstants", "macOSMajorVersion",
                                          "Unable to get macOS major version, using 12 as "
                                          "default")));
               EXPECT_EQ(mac.callsOf("launchctl").size(), 2U);
             });
  addMacTest("UpdateAsUser", "AConsoleUserWithoutAnAccountHasAnEmptyNumber",
             action(kUnlisted, {"mac/version=12.1", "users/console=carol"}, "intel"),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results,
                           ElementsAre("2007 applyLater macOSSoftwareUpdateDownloadFailed"));
               EXPECT_THAT(commandLine(mac.calls.at(0)),
                           StartsWith("launchctl asuser sudo /usr/sbin/softwareupdate "));
             });
});

const MacTests arguments([] {
  const auto fewArguments = [](const std::string& given, const std::string& message) {
    return [=](const Ended& mac) {
      EXPECT_THAT(mac.results, ElementsAre(given + " applyLater inSufficientArguments"));
      EXPECT_THAT(mac.log,
                  Contains(AllOf(ErrorLine(message), Field(&LogRecord::file, kProcessor))));
      EXPECT_THAT(mac.calls, IsEmpty());
    };
  };
  addMacTest("Arguments", "OneForAnUpdate", action("2007=14.5", {"agent service/state=absent"}),
             fewArguments("2007",
                          "Unable to perform macOS update/upgrade, not enough arguments. Arguments "
                          "[\"14.5\"]."));
  addMacTest("Arguments", "NoneForAnUpgrade", action("2010=", {"agent service/state=absent"}),
             fewArguments("2010",
                          "Unable to perform macOS update/upgrade using InstallAssistant, not "
                          "enough arguments. Arguments []."));
});

const MacTests credentials([] {
  struct Row {
    std::string name;
    std::vector<std::string> settings;
    std::string description;
    std::string line;
    double seconds = 0;  ///< How long it waits at least.
  };
  const std::string noConnection =
      "Failed to establish connection with AgentService. Unable to get user credentials.";
  const std::string noCredentials =
      "Unable to get username and password from agent service connection. Need to retry later.";
  const std::vector<Row> rows{
      {"NoService",
       {"agent service/state=absent"},
       "unableToGetAgentServiceConnection",
       noConnection},
      {"NoUserName",
       {"agent service/value=PatchOSUpdatePassword x"},
       "credentialsNotEntered",
       noCredentials},
      {"EmptyPassword",
       {"agent service/value=PatchOSUpdateUserName alice",
        "agent service/value=PatchOSUpdatePassword"},
       "credentialsNotEntered",
       noCredentials},
      {"ServiceDies", {"agent service/state=dies"}, "credentialsNotEntered", noCredentials},
      {"ServiceTalksNonsense",
       {"agent service/state=garbage"},
       "credentialsNotEntered",
       "Unable to get value for PatchOSUpdateUserName form AgentService, Timeout.",
       10},
      {"ServiceIsSilent",
       {"agent service/state=silent"},
       "credentialsNotEntered",
       "Unable to get value for PatchOSUpdateUserName form AgentService, Timeout.",
       10},
      {"ServiceNeverAnswersTheSecondKey",
       {"agent service/state=silent on PatchOSUpdatePassword"},
       "credentialsNotEntered",
       "Unable to get value for PatchOSUpdatePassword form AgentService, Timeout.",
       10}};
  for (const std::string code : {"2007", "2010"}) {
    for (const Row& row : rows) {
      const std::string what =
          code == "2007" ? kUpdate : "2010=\"/Applications/Install macOS Sonoma.app\"";
      addMacTest("Credentials", row.name + "For" + code, action(what, row.settings),
                 [=](const Ended& mac) {
                   EXPECT_THAT(mac.results, ElementsAre(code + " applyLater " + row.description));
                   EXPECT_THAT(mac.log, Contains(ErrorLine(row.line)));
                   EXPECT_THAT(mac.calls, IsEmpty());
                   EXPECT_THAT(mac.notices, IsEmpty());
                   EXPECT_GE(mac.seconds, row.seconds);
                 });
    }
  }
  addMacTest("Credentials", "ASlowServiceIsWaitedFor", action(kUpdate, {"agent service/delay=3 s"}),
             [](const Ended& mac) { EXPECT_THAT(mac.results, ElementsAre("2007 success")); });
});

const MacTests output([] {
  const std::string unreachable = "applyLater softwareUpdateUnreachable";
  const std::string network = "macOS download/install failed due to network error";
  struct Row {
    std::string name;
    std::string printed;
    std::string line;  ///< Of the analyser; empty: none.
    std::string downloadResult;
    std::string installResult;
  };
  const std::string failedDownload = "applyLater macOSSoftwareUpdateDownloadFailed";
  const std::string failedInstall = "failure macOSSoftwareUpdateInstallationFailed";
  const std::vector<Row> rows{
      {"CantConnect", "Can’t connect to the Software Update server.", network, unreachable,
       unreachable},
      {"NotConnected", "Make sure you’re connected to the Internet", network, unreachable,
       unreachable},
      {"CantConnectToApple", "can’t connect to the Apple Software Update server", network,
       unreachable, unreachable},
      {"NotReachable", "SERVER NOT REACHABLE", network, unreachable, unreachable},
      {"AuthNotReachable", "(kAMAuthInstallErrorServerNotReachable)", network, unreachable,
       unreachable},
      {"DiskFull", "NOT ENOUGH FREE DISK SPACE",
       "macOS download/install failed, Due to insufficient disk space.",
       "applyLater inSufficientDiskSpaceForSoftwareUpdate",
       "applyLater inSufficientDiskSpaceForSoftwareUpdate"},
      {"ErrorDownloading", "Error downloading macOS. Error installing updates.",
       "macOS not available for downloading, Marked as failure.", failedDownload, failedDownload},
      {"ErrorInstalling", "Error installing updates",
       "macOS not available for installation, Marked as failure.", failedInstall, failedInstall},
      {"NoSuchUpdate", "No such update",
       "macOS not available for installation/downloading, Marked as failure.", failedDownload,
       failedInstall},
      {"OnlyTheStatus", "", "", failedDownload, failedInstall}};
  for (const Row& row : rows) {
    // The tool ends with status 0 where it prints one of the texts: they are looked at first.
    for (const bool fromInstall : {false, true}) {
      const std::string tool =
          fromInstall ? "softwareupdate --install" : "softwareupdate --download";
      std::vector<std::string> settings{
          tool + (row.line.empty() ? "/exits=signal 15" : "/stdout=" + row.printed)};
      if (fromInstall) {
        settings.emplace_back("softwareupdate --download/stdout=Downloaded");
      }
      addMacTest(fromInstall ? "InstallOutput" : "DownloadOutput", row.name,
                 action(kUnlisted, settings, "intel"), [=](const Ended& mac) {
                   const std::string& result = fromInstall ? row.installResult : row.downloadResult;
                   EXPECT_THAT(mac.results, ElementsAre("2007 " + result));
                   EXPECT_EQ(mac.status, result.starts_with("failure") ? 1 : 75);
                   if (!row.line.empty()) {
                     EXPECT_THAT(mac.log,
                                 Contains(error(kFolder + "Common/SoftwareUpdateOutputAnalyser",
                                                "validate(_:)", row.line)));
                   }
                   EXPECT_THAT(mac.log, Contains(ErrorLine(kNoSecondTry)));
                   EXPECT_EQ(mac.callsOf("softwareupdate").size(), fromInstall ? 3U : 2U);
                   EXPECT_GT(mac.seconds, 30);
                 });
    }
  }
});

const MacTests secondTry([] {
  const auto toolCalls = [](const Ended& mac) {
    std::vector<std::string> all;
    for (const Call& call : mac.callsOf("softwareupdate")) {
      all.push_back(call.arguments.size() > 1 ? call.arguments[1] + " " + call.arguments[2]
                                              : call.arguments[0]);
    }
    return all;
  };
  addMacTest(
      "SecondTry", "TakesTheLabelFromTheList", {.scenario = "second-try"}, [=](const Ended& mac) {
        EXPECT_THAT(mac.results, ElementsAre("2007 success"));
        EXPECT_THAT(toolCalls(mac), ElementsAre("--download macOS Sonoma 23F79", "--list",
                                                "--download " + kLabel, "--install " + kLabel));
        EXPECT_THAT(mac.log, Contains(info(kFolder + "Common/SoftwareUpdateLabelProvider",
                                           "label(for:)", "Label found - \"" + kLabel + "\".")));
        EXPECT_GT(mac.seconds, 35);
      });
  addMacTest("SecondTry", "RepeatsBothStepsAfterAFailedInstallation",
             action(kUpdate, {"softwareupdate --install/exits=1"}), [=](const Ended& mac) {
               EXPECT_THAT(mac.results,
                           ElementsAre("2007 failure macOSSoftwareUpdateInstallationFailed"));
               EXPECT_THAT(toolCalls(mac),
                           ElementsAre("--download " + kLabel, "--install " + kLabel, "--list",
                                       "--download " + kLabel, "--install " + kLabel));
               EXPECT_EQ(mac.status, 1);
             });
  addMacTest(
      "SecondTry", "IsTheLast", action(kUpdate, {"softwareupdate --download/exits=1"}, "intel"),
      [=](const Ended& mac) {
        EXPECT_THAT(mac.results, ElementsAre("2007 applyLater macOSSoftwareUpdateDownloadFailed"));
        EXPECT_THAT(toolCalls(mac),
                    ElementsAre("--download " + kLabel, "--list", "--download " + kLabel));
      });
  addMacTest(
      "SecondTry", "NeedsAList",
      action(kUpdate, {"softwareupdate --download/exits=1", "softwareupdate --list/exits=1"}),
      [=](const Ended& mac) {
        EXPECT_THAT(
            mac.log,
            IsSupersetOf({error(kFolder + "Common/SoftwareUpdateLabelProvider", "label(for:)",
                                "Unable to get software update label exitCode: 1, "
                                "output: ."),
                          error(kFolder + "Main/SiliconSoftwareUpdateInstaller",
                                "downloadAndInstallMacOS(using:)", kNoSecondTry)}));
        EXPECT_THAT(toolCalls(mac), ElementsAre("--download " + kLabel, "--list"));
      });
  addMacTest("SecondTry", "AToolThatClosesItsInputHarmsNobody",
             action(kUpdate, {"softwareupdate --download/input=closed",
                              "softwareupdate --install/megabytes=3"}),
             [](const Ended& mac) { EXPECT_THAT(mac.results, ElementsAre("2007 success")); });
});

const MacTests upgrades([] {
  const std::string app = "/Applications/Install macOS Sonoma.app";
  const std::string upgrade = "2010=\"" + app + "\"";
  const std::string options = " --agreetolicense --forcequitapps --nointeraction";
  for (const bool silicon : {true, false}) {
    const std::string file = std::string("Installers/InstallAssistantUpgradeInstaller/") +
                             (silicon ? "SiliconUpgradeInstaller" : "IntelUpgradeInstaller");
    const std::string function = silicon ? "installMacOS(using:)" : "installMacOS()";
    const std::string kind = silicon ? "Silicon" : "Intel";
    for (const std::string version : {"12.7", "26.1"}) {
      addMacTest(
          "Upgrade", kind + "On" + version.substr(0, 2),
          action(upgrade, {"mac/version=" + version}, silicon ? "apple-silicon" : "intel"),
          [=](const Ended& mac) {
            EXPECT_THAT(mac.results, ElementsAre("2010 success"));
            ASSERT_EQ(mac.calls.size(), 1U);
            EXPECT_EQ(commandLine(mac.calls[0]),
                      "startosinstall" + options + (silicon ? " --user alice --stdinpass" : ""));
            EXPECT_EQ(mac.calls[0].input,
                      silicon ? std::optional(std::string(kPassword)) : std::nullopt);
            EXPECT_EQ(mac.calls[0].session, std::nullopt);
            EXPECT_THAT(mac.log,
                        IsSupersetOf({info(file, "installMacOS()",
                                           "Starting installation of " + app + ", " +
                                               (silicon ? "silicon" : "intel") +
                                               ". Machine locale language: Optional(\"en-US\")."),
                                      info(file, function,
                                           "Installation command: \"" + app +
                                               "/Contents/Resources/startosinstall\"" + options +
                                               (silicon ? " --user \"alice\" --stdinpass" : "")),
                                      info(kFolder + "Common/SoftwareUpdateNotifier",
                                           "notifyUpdatesInProgress()",
                                           "Showing update is in progress notification.")}));
          });
    }
    const auto fails = [=](const std::string& path, std::size_t calls) {
      return [=](const Ended& mac) {
        EXPECT_THAT(mac.results, ElementsAre("2010 failure macOSSoftwareUpdateInstallationFailed"));
        EXPECT_EQ(mac.status, 1);
        EXPECT_THAT(mac.log,
                    Contains(error(file, function, "Installation failed for " + path + ".")));
        EXPECT_EQ(mac.calls.size(), calls);
        EXPECT_THAT(mac.notices, ElementsAre(kUpdatesInProgress));
      };
    };
    const std::string machine = silicon ? "apple-silicon" : "intel";
    addMacTest("Upgrade", kind + "ToolFails", action(upgrade, {"startosinstall/exits=1"}, machine),
               fails(app, 1));
    addMacTest("Upgrade", kind + "ToolDiesBySignal",
               action(upgrade, {"startosinstall/exits=signal 9"}, machine), fails(app, 1));
    addMacTest("Upgrade", kind + "ToolIsMissing",
               action("2010=/Applications/Nothing.app", {}, machine),
               fails("/Applications/Nothing.app", 0));
  }
});

}  // namespace
}  // namespace end_to_end
