// macOS updates and upgrades: command lines, users, passwords, the retry, and every failure.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>

#include "Tests/EndToEnd/MacRun.h"

// Strings are concatenated with +, which is slower but easier to read.
// NOLINTBEGIN(performance-inefficient-string-concatenation)
namespace end_to_end {
namespace {

const std::string kFolder = "Installers/SoftwareUpdateInstaller/";
const std::string kLabel = "macOS Sonoma 14.5-23F79";
const std::string kUpdate = "actions/2007=14.5 \"" + kLabel + "\"";
const std::string kNoRetry = "Unable to get macOS build version/ label. Aborting next try.";
const std::string kNotified = "info " + kFolder +
                              "Common/SoftwareUpdateNotifier notifyUpdatesInProgress(): Showing "
                              "update is in progress notification.";
const Texts kNotice{"vexlo-patch: notification 19: macOS updates are in progress"};
const std::string kList = "softwareupdate --list";
const std::string kDone = "2007 success";
const std::string kDownloadFailed = "2007 applyLater macOSSoftwareUpdateDownloadFailed";
const std::string kInstallFailed = "2007 failure macOSSoftwareUpdateInstallationFailed";
constexpr std::array kKinds{"Silicon", "Intel"};

std::string machine(std::string_view kind) {
  return kind == "Intel" ? "mac/machine=intel" : "mac/machine=apple-silicon";
}

/// The log lines and tool calls of one of the two steps of an update.
struct Step {
  Texts lines;
  Texts calls;
};

Step stepOf(bool installs, bool silicon, int version) {
  const bool asUser = version < 13 || (version >= 26 && (silicon || installs));
  const std::string verb = installs ? "install" : "download";
  const std::string options = "--include-config-data --" + verb + " \"" + kLabel +
                              "\" --force --verbose" + (installs ? " --restart" : "");
  const std::string arguments = options + (silicon ? " --user alice --stdinpass" : "") +
                                (silicon && version < 13 ? " \"open sesame\"" : "");
  const std::string input = silicon && version >= 13 ? " < open sesame" : "";
  const std::string sudo = "sudo /usr/sbin/softwareupdate " + arguments;
  const std::string line =
      "info " + kFolder + (installs ? "Common/MacOSInstaller " : "Common/MacOSDownloader ");
  return {.lines = {line + verb + "(asUser:userSessionProvider:): " +
                        (installs ? "Installing" : "Downloading") + " macOS update " + kLabel +
                        " using command: " + (asUser ? "launchctl asuser 501 sudo " : "") +
                        "/usr/sbin/softwareupdate " + options +
                        (silicon ? " --user \"alice\" --stdinpass" : "") + ".",
                    line + "evaluate(using:_:): macOS " + kLabel + " " +
                        (installs ? "installation" : "download") + " completed successfully."},
          .calls = asUser ? Texts{"launchctl asuser 501 " + sudo, sudo + " in session 501",
                                  "softwareupdate " + arguments + " in session 501" + input}
                          : Texts{"softwareupdate " + arguments + input}};
}

const std::string kNoVersion =
    "error Common/PatchDeploymentConstants macOSMajorVersion: Unable to get macOS major version, "
    "using 12 as default";

const MacTests users("UpdateAsUser", [] {
  std::vector<MacTest> tests;
  const auto add = [&](const std::string& name, std::string_view kind, int version,
                       const Texts& settings, const Texts& lines) {
    const Step download = stepOf(false, kind == "Silicon", version);
    const Step install = stepOf(true, kind == "Silicon", version);
    tests.push_back({.name = std::string(kind) + name,
                     .settings = Texts{machine(kind)} + settings,
                     .results = {kDone},
                     .lines = download.lines + install.lines + lines,
                     .calls = download.calls + install.calls,
                     .check = [](const Ended& mac) {
                       EXPECT_EQ(mac.notices, kNotice);
                       EXPECT_GT(mac.seconds, 5);
                     }});
  };
  for (const std::string name : kKinds) {
    const std::string begins = "info " + kFolder + "Main/" + name +
                               "SoftwareUpdateInstaller installMacOS(): Starting installation of " +
                               name + " Software Update for 14.5, " +
                               (name == "Intel" ? "label: " : "Label: ") + kLabel +
                               ". Machine locale language: Optional(\"en-US\").";
    for (const int version : {11, 12, 13, 14, 15, 26}) {
      const std::string major = std::to_string(version);
      add("On" + major, name, version, {kUpdate, "mac/version=" + major + ".1"},
          {begins, kNotified});
    }
  }
  add("OnAnUnreadableVersion", "Intel", 12,
      {"actions/2007=14.5 \"" + kLabel + "\" \"one more\"", "mac/version=unreadable"},
      {kNoVersion});
  tests.back().check = [](const Ended& mac) {  // the first attempt reads the version
    const auto line = [&](const std::string& text) {
      return std::ranges::find_if(mac.log, [&](const auto& each) { return each.contains(text); });
    };
    EXPECT_LT(line("Starting installation"), line(kNoVersion));
  };
  return tests;
}());

const std::string kNotEnough = "error " + kProcessor +
                               "installmacOSUpdates(for:using:): Unable to perform macOS "
                               "update/upgrade, not enough arguments. Arguments ";
const MacTests arguments(
    "Arguments",
    {{.name = "OneForAnUpdateAndNoneForAnUpgrade",
      .settings = {"actions/2007=14.5", "actions/2010=", "agent service/state=absent"},
      .results = {"2007 applyLater inSufficientArguments", "2010 applyLater inSufficientArguments"},
      .lines = {
          kNotEnough + "[\"14.5\"].",
          "error " + kProcessor +
              "installMacOSUpdatesUsingInstallAssistant(for:using:): Unable to perform macOS "
              "update/upgrade using InstallAssistant, not enough arguments. Arguments []."}}});

const MacTests credentials("Credentials", [] {
  struct Row {
    RowName name;
    Texts settings;
    std::string line;
    double seconds = 0;  ///< The minimum wait.
  };
  const std::string helpers = "error " + kFolder + "Helpers/Silicon/";
  const std::string none =
      helpers +
      "CredentialsFetcher credentials(): Unable to get username and password from agent service "
      "connection. Need to retry later.";
  const std::string timeout = helpers +
                              "AgentServiceValueFetcher value(for:): Unable to get value "
                              "for PatchOSUpdate";
  const std::vector<Row> rows{
      {.name = "NoUserName",  // and no attempt, which would read the version
       .settings = {"agent service/value=PatchOSUpdatePassword x", "mac/version=unreadable"},
       .line = none},
      {.name = "EmptyUserName",
       .settings = {"agent service/value=PatchOSUpdateUserName",
                    "agent service/value=PatchOSUpdatePassword x"},
       .line = none},
      {.name = "EmptyPassword",
       .settings = {"agent service/value=PatchOSUpdateUserName alice",
                    "agent service/value=PatchOSUpdatePassword"},
       .line = none},
      {.name = "ServiceDies",
       .settings = {"agent service/state=dies"},
       .line = timeout + "UserName form AgentService, the service closed the connection."},
      {.name = "ServiceSendsGarbage",
       .settings = {"agent service/state=garbage"},
       .line = timeout + "UserName form AgentService, the service sent a line that is no reply."},
      {.name = "ServiceIsSilent",
       .settings = {"agent service/state=silent"},
       .line = timeout + "UserName form AgentService, Timeout.",
       .seconds = 10},
      {.name = "ServiceNeverAnswersTheSecondKey",
       .settings = {"agent service/state=silent on PatchOSUpdatePassword"},
       .line = timeout + "Password form AgentService, Timeout.",
       .seconds = 10}};
  const Texts both{kUpdate, "actions/2010=\"/Applications/Install macOS Sonoma.app\""};
  const std::string noService =
      "Dependencies init(silicon:): Failed to establish connection with AgentService. Unable to "
      "get user credentials.";
  std::vector<MacTest> tests{
      {.name = "WaitsForASlowService",
       .settings = {kUpdate, "agent service/delay=3 s"},
       .results = {kDone},
       .calls = kAnyCalls},
      {.name = "NoService",
       .settings = both + Texts{"agent service/state=absent"},
       .results = {"2007 applyLater unableToGetAgentServiceConnection",
                   "2010 applyLater unableToGetAgentServiceConnection"},
       .lines = {
           "error " + kFolder + "Main/SoftwareUpdateInstaller" + noService,
           "error Installers/InstallAssistantUpgradeInstaller/UpgradeInstaller" + noService}}};
  for (const Row& row : rows) {
    tests.push_back({.name = row.name,
                     .settings = both + row.settings,
                     .results = {"2007 applyLater credentialsNotEntered",
                                 row.name.text == "ServiceDies"
                                     ? "2010 applyLater unableToGetAgentServiceConnection"
                                     : "2010 applyLater credentialsNotEntered"},
                     .lines = {row.line},
                     .check = [=](const Ended& mac) {
                       EXPECT_EQ(mac.notices, Texts());
                       EXPECT_THAT(mac.log, testing::Not(testing::Contains(kNoVersion)));
                       EXPECT_GE(mac.seconds, 2 * row.seconds);
                     }});
  }
  return tests;
}());

const MacTests output("UpdateOutput", [] {
  const std::string diskFull = "2007 applyLater inSufficientDiskSpaceForSoftwareUpdate";
  struct Row {
    RowName name;
    std::string printed;
    /// From the analyser; empty for none.
    std::string line = "macOS download/install failed due to network error";
    std::string downloadResult = "2007 applyLater softwareUpdateUnreachable";
    std::string installResult = downloadResult;
  };
  const std::vector<Row> rows{
      {"CantConnect", "Can’t connect to the Software Update server."},
      {"NotConnected", "Make sure you’re connected to the Internet"},
      {"CantConnectToApple", "can’t connect to the Apple Software Update server"},
      {"NotReachable", "SERVER NOT REACHABLE"},
      {"AuthNotReachable", "(kAMAuthInstallErrorServerNotReachable)"},
      {"DiskFull", "NOT ENOUGH FREE DISK SPACE",
       "macOS download/install failed, Due to insufficient disk space.", diskFull},
      {"ErrorDownloading", "Error downloading macOS. Error installing updates.",
       "macOS not available for downloading, Marked as failure.", kDownloadFailed},
      {"ErrorInstalling", "Error installing updates",
       "macOS not available for installation, Marked as failure.", kInstallFailed},
      {"NoSuchUpdate", "No such update",
       "macOS not available for installation/downloading, Marked as failure.", kDownloadFailed,
       kInstallFailed},
      {"OnlyTheStatus", "", "", kDownloadFailed, kInstallFailed}};
  std::vector<MacTest> tests;
  for (const Row& row : rows) {
    // A tool that prints an error message exits with 0, since the output is examined first.
    for (const bool installs : {false, true}) {
      const std::string tool = installs ? "softwareupdate --install" : "softwareupdate --download";
      Texts settings{"mac/machine=intel",
                     // Not in the list of updates: no retry.
                     "actions/2007=14.5 \"macOS Sonoma 14.5-00X00\"",
                     tool + (row.line.empty() ? "/exits=signal 15" : "/stdout=" + row.printed)};
      if (installs) {
        settings.emplace_back("softwareupdate --download/stdout=Downloaded");
      }
      Texts lines{"error " + kFolder +
                  "Main/IntelSoftwareUpdateInstaller downloadAndInstallMacOS(): " + kNoRetry};
      if (!row.line.empty()) {
        lines.push_back("error " + kFolder +
                        "Common/SoftwareUpdateOutputAnalyser validate(_:): " + row.line);
      }
      tests.push_back({.name = row.name + (installs ? "WhileInstalling" : ""),
                       .settings = settings,
                       .results = {installs ? row.installResult : row.downloadResult},
                       .lines = lines,
                       .calls = kAnyCalls,
                       .check = [=](const Ended& mac) {
                         EXPECT_EQ(mac.calls.size(), installs ? 3U : 2U);
                         EXPECT_GT(mac.seconds, 30);
                       }});
    }
  }
  return tests;
}());

/// The command on an Intel Mac with macOS 14.
std::string downloads(const std::string& label) {
  return "softwareupdate --include-config-data --download \"" + label + "\" --force --verbose";
}
const std::string kDownload = downloads(kLabel);
const std::string kInstall =
    "softwareupdate --include-config-data --install \"" + kLabel + "\" --force --verbose --restart";
const std::string kIntel = "mac/machine=intel";
const std::string kLabelProvider = kFolder + "Common/SoftwareUpdateLabelProvider label(for:): ";

const MacTests progress(
    "Progress",
    {{.name = "ReportsProgressOnceASecond",
      .settings = {kIntel, kUpdate, "update/takes=3 s"},
      .results = {kDone},
      .calls = {kDownload, kInstall},
      .check = [](const Ended& mac) {
        for (const std::string wanted :
             {"searching null", "downloading null", "downloading [1-9].*", "waiting null"}) {
          EXPECT_THAT(mac.progress, testing::Contains(testing::MatchesRegex("2007 " + wanted)));
        }
        EXPECT_LE(mac.progress.size(), 12U) << "of 22 lines";
      }}});

const MacTests retries(
    "Retry",
    {{.name = "TakesTheLabelFromTheList",
      .settings = {kIntel},
      .results = {kDone},
      .lines = {"info " + kLabelProvider + "Label found - \"" + kLabel + "\"."},
      .calls = {downloads("macOS Sonoma 23F79"), kList, kDownload, kInstall},
      .why = {"download ended with status 1, \"Error downloading macOS Sonoma 14.5\"; download "
              "ended with status 0, \"Downloaded: macOS Sonoma 14.5-23F79\"; installation ended "
              "with status 0, \"Restarting...\""},
      .check = [](const Ended& mac) { EXPECT_GE(mac.seconds, 35); },
      .scenario = "second-try"},
     {.name = "RepeatsBothStepsAfterAFailedInstallation",
      .settings = {kIntel, kUpdate, "softwareupdate --install/exits=1"},
      .results = {kInstallFailed},
      .calls = {kDownload, kInstall, kList, kDownload, kInstall}},
     {.name = "NoThirdAttempt",
      .settings = {kIntel, kUpdate, "softwareupdate --download/exits=1"},
      .results = {kDownloadFailed},
      .calls = {kDownload, kList, kDownload}},
     {.name = "RetryNeedsTheList",
      .settings = {kUpdate, "softwareupdate --download/exits=1", "softwareupdate --list/exits=1"},
      .results = {kDownloadFailed},
      .lines =
          {"error " + kLabelProvider + "Unable to get software update label exitCode: 1, output: .",
           "error " + kFolder +
               "Main/SiliconSoftwareUpdateInstaller downloadAndInstallMacOS(using:): " + kNoRetry},
      .calls = {kDownload + " --user alice --stdinpass < open sesame", kList}},
     {.name = "ToolThatClosesItsInput",
      .settings = {kUpdate, "softwareupdate --download/input=closed",
                   "softwareupdate --install/megabytes=3"},
      .results = {kDone},
      .calls = kAnyCalls}});

const MacTests upgrades("Upgrade", [] {
  const std::string app = "/Applications/Install macOS Sonoma.app";
  const std::string upgrade = "actions/2010=\"" + app + "\"";
  const std::string options = " --agreetolicense --forcequitapps --nointeraction";
  const std::string failed = "2010 failure macOSSoftwareUpdateInstallationFailed";
  const auto notifies = [](const Ended& mac) { EXPECT_EQ(mac.notices, kNotice); };
  std::vector<MacTest> tests;
  for (const std::string name : kKinds) {
    const bool silicon = name == "Silicon";
    const std::string file =
        "Installers/InstallAssistantUpgradeInstaller/" + name + "UpgradeInstaller ";
    const std::string function = silicon ? "installMacOS(using:): " : "installMacOS(): ";
    const Texts calls{"startosinstall" + options +
                      (silicon ? " --user alice --stdinpass < open sesame" : "")};
    const auto failure = [&](const std::string& path) {
      return Texts{"error " + file + function + "Installation failed for " + path + "."};
    };
    for (const std::string version : {"12.7", "26.1"}) {
      tests.push_back({.name = name + "On" + version.substr(0, 2),
                       .settings = {machine(name), upgrade, "mac/version=" + version},
                       .results = {"2010 success"},
                       .lines = {"info " + file + "installMacOS(): Starting installation of " +
                                     app + (silicon ? ", silicon" : ", intel") +
                                     ". Machine locale language: Optional(\"en-US\").",
                                 "info " + file + function + "Installation command: \"" + app +
                                     "/Contents/Resources/startosinstall\"" + options +
                                     (silicon ? " --user \"alice\" --stdinpass" : ""),
                                 kNotified},
                       .calls = calls,
                       .check = notifies});
    }
    for (const std::string exits : {"1", "signal 9"}) {
      tests.push_back({.name = name + (exits == "1" ? "ToolFails" : "ToolDiesBySignal"),
                       .settings = {machine(name), upgrade, "startosinstall/exits=" + exits},
                       .results = {failed},
                       .lines = failure(app),
                       .calls = calls,
                       // What the shell says about a signal is its own.
                       .why = exits == "1" ? Texts{"upgrade ended with status 1"} : Texts(),
                       .check = notifies});
    }
    tests.push_back({.name = name + "ToolIsMissing",
                     .settings = {machine(name), "actions/2010=/Applications/Nothing.app"},
                     .results = {failed},
                     .lines = failure("/Applications/Nothing.app"),
                     .check = notifies});
  }
  return tests;
}());

}  // namespace
}  // namespace end_to_end
// NOLINTEND(performance-inefficient-string-concatenation)
