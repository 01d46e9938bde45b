// Running applications: detection, the prompt and the user's answer.
#include <gmock/gmock.h>

#include <array>

#include "Tests/EndToEnd/MacRun.h"

namespace end_to_end {
namespace {

const std::string kFolder = "Validators/RunningApplicationCheckRelated/";
const std::string kHandler = kProcessor + "applicationRunningCheck(for:using:): ";
const std::string kDetector = "info " + kFolder + "RunningAppDetector isAnyAppRunning(for:): ";
const std::string kDetails = kFolder + "RunningAppDetailsProvider appDetails(for:): ";
const std::string kKiller = "info " + kFolder + "AppKiller killApps(for:): ";
const std::string kCleaner = "info " + kFolder + "RunningAppPromptCleaner clean(): ";
const std::string kPresenter = "info " + kFolder + "RunningAppUserAck ";
const std::string kRequest = kPresenter + "requestUserAcknowledgement(for:using:timeout:): ";
const std::string kWait = kPresenter + "waitForPromptDismissal(timeout:): ";
const std::string kRead = kPresenter + "readUserAcknowledgement(fallback:): ";
const std::string kEvaluator =
    "info " + kFolder + "RunningAppPromptEvaluator evaluate(for:having:): ";
const std::string kStore = kFolder + "RunningAppPromptDataStore ";
const std::string kCantDecode = "error " + kFolder +
                                "RunningAppPromptCustomizationProvider customizationData: Failed "
                                "to decode customization data. Error: …";
const std::string kPrompt =
    "/Library/Application Support/VexloAgent/bin/VexloAppRunningNotifier.app/Contents/MacOS/"
    "VexloAppRunningNotifier";
const std::string kReturnCodeFile =
    "/Library/Application Support/VexloAgent/logs/UserLogs/ApplicationRunningPromptretcode.txt";
const std::string kProgram = "/Applications/Safari.app/Contents/MacOS/Safari";
const std::string kLater = "2008 applyLater appIsRunning";
const std::string kAgreed =
    "2008 success gotUserAcknowledgementForPatchingRunningApplications "
    "{\"com.apple.Safari\":\"Safari\"}";
/// Settings for a running Safari that the action looks for.
const Texts kSafari{"application com.apple.Safari/name=Safari", "actions/2008=com.apple.Safari"};

/// Settings for the same with the prompt enabled, and more.
Texts prompting(const Texts& settings) {
  return kSafari + Texts{"patch data/ApplicationRunningPrompt=true"} + settings;
}

/// The calls that open the prompt for the user.
Texts opened(const std::string& arguments, const std::string& user = "alice") {
  const bool inFront = arguments.ends_with(" true");
  return {
      "open " + std::string(inFront ? "" : "-g ") + "-a \"" + kPrompt + "\" --args " + arguments,
      "VexloAppRunningNotifier " + arguments + " as " + user};
}

auto leaves(const Texts& applications) {
  return [applications](const Ended& mac) {
    EXPECT_EQ(mac.leftApps, applications);
    EXPECT_EQ(mac.leftFiles, Texts());
  };
}

const MacTests policy(
    "RunningApplications",
    {{.name = "NoIdentifiers",
      .settings = {"actions/2008="},
      .results = {"2008 applyLater inSufficientArguments"},
      .lines =
          {"error " + kHandler +
           "Unable to perform application running check, not enough arguments. Arguments []."}},
     {.name = "NoneIsRunning",
      .settings = {"actions/2008=com.apple.Safari com.apple.mail",
                   "application com.apple.Safari/instances=0"},
      .results = {"2008 success"},
      .lines = {kDetector + "No running Apps detected for the bundleID: com.apple.mail.",
                kDetector + "No running Apps detected for the bundleIDs: [\"com.apple.Safari\", "
                            "\"com.apple.mail\"]."},
      .why = {"none running"}},
     {.name = "AlwaysKillKillsEveryInstance",
      .settings = kSafari + Texts{"application com.apple.Safari/instances=2",
                                  "patch data/AlwaysKillApps=true"},
      .results = {"2008 success"},
      .why = {"Safari running; closed without asking"},
      .check =
          [](const Ended& mac) {
            EXPECT_EQ(std::ranges::count_if(mac.log,
                                            [](const std::string& line) {
                                              return line.starts_with(kKiller +
                                                                      "Attempting to "
                                                                      "terminate app: Safari ") &&
                                                     line.ends_with(", Termination status: true.");
                                            }),
                      2);
            EXPECT_EQ(mac.leftApps, Texts());
            EXPECT_GT(mac.seconds, 4);
          }},
     {.name = "PromptDisabled",
      .settings = kSafari + Texts{"patch data/AlwaysKillApps=\"true\""},
      .results = {kLater},
      .lines =
          {kDetector + "Apps are running for bundleID: com.apple.Safari::[Safari (PID …",
           "info " + kFolder +
               "RunningAppPolicy isAlwaysKillAppsEnabled(): Running application check is enabled "
               "since AlwaysKillApps is not enabled.",
           "info " + kFolder +
               "RunningAppPolicy isPromptEnabled(): Prompt for running applications is disabled."},
      .why = {"Safari running; prompts are off"},
      .check = leaves({kProgram})},
     {.name = "ExitsBeforeItsNameIsRead",
      .settings = prompting({"application com.apple.Safari/quits=Apps are running for bundleID"}),
      .results = {"2008 success"},
      .lines = {"error " + kDetails +
                    "Unable to obtain app name or executable path for bundleID: com.apple.Safari.",
                "error " + kHandler +
                    "Unable to obtain app names for the following bundle IDs: "
                    "[\"com.apple.Safari\"]. Considering as no app is running."},
      .why = {"Safari running; can't be named, counts as not running"}},
     {.name = "TwoNamesInOrderAndARepeatedIdentifier",
      .settings = prompting({"actions/2008=org.b org.a org.c org.b", "application org.b/name=Bee",
                             "application org.a/name=A, too", "customization/dailyPromptLimit=9"}),
      .results = {"2008 success gotUserAcknowledgementForPatchingRunningApplications "
                  "{\"org.a\":\"A, too\",\"org.b\":\"Bee\"}"},
      .lines = {"info " + kDetails +
                    "App name: Bee, executable path: /Applications/b.app/Contents/MacOS/b for "
                    "bundleID: org.b.",
                "error " + kDetails +
                    "Unable to obtain app name or executable path for bundleID: org.c.",
                "info " + kStore +
                    "data(for:): Fetched prompt data for org.b,org.a,org.c,org.b: nil.",
                kKiller + "No running applications found with bundleID: org.c."},
      .calls = opened("\"A, too, Bee\" 0 false"),
      .why = {"Bee running; the user agreed"},
      .check = leaves({kProgram})}});

const MacTests launch(
    "PromptLaunch",
    {{.name = "OpenStartsItInTheConsoleUsersSession",
      .settings = prompting({}),
      .results = {kAgreed},
      .lines = {kRequest + "Launching prompt with command: open -g -a \"" + kPrompt +
                    "\" --args \"Safari\" \"0\" \"false\"",
                kRequest + "output: , exitCode: 0", kWait + "Prompt app exited.",
                kRead + "User acknowledgement received: true (return code: 94).",
                kCleaner + "Removing file: " + kReturnCodeFile + " - 2",
                kCleaner + "Removing file: " + kReturnCodeFile + " - 0"},
      .calls = opened("Safari 0 false"),
      .why = {"Safari running; the user agreed"},
      .check = leaves({})},
     {.name = "OpenBringsItToTheFront",
      .settings = prompting({"customization/allowScreenGrab=true", "users/console=bob",
                             "prompt/user=postpones"}),
      .results = {kLater},
      .lines = {kRead + "User acknowledgement received: false (return code: 1)."},
      .calls = opened("Safari 0 true", "bob"),
      .check = leaves({kProgram})},
     {.name = "SudoRunsItOnOldSystems",
      .settings = prompting({"mac/version=11.7.10"}),
      .results = {kAgreed},
      .lines = {kRequest + "Launching prompt with command: sudo -u alice \"" + kPrompt +
                "\" \"Safari\" \"0\" \"false\""},
      .calls = {"sudo -u alice \"" + kPrompt + "\" Safari 0 false",
                "VexloAppRunningNotifier Safari 0 false as alice"},
      .check = leaves({})},
     {.name = "SudoWithoutConsoleUserOnOldSystems",
      .settings = prompting({"mac/version=11.7", "users/console=none",
                             "customization/forceDeploy=true"}),
      .results = {kLater},
      .lines = {kRequest + "output: sudo: unknown user: NOUSERNAME\\n, exitCode: 1",
                kRequest + "Failed to launch the running app prompt."},
      .calls = {"sudo -u NOUSERNAME \"" + kPrompt + "\" Safari 0 false"},
      .why = {"Safari running; the prompt can't be shown"},
      .check = leaves({kProgram})},
     {.name = "ApplicationNameIsNotACommand",
      .settings =
          prompting({"application com.apple.Safari/name=Sa\"fari $(touch /private/tmp/x) `id`"}),
      .results = {"2008 success gotUserAcknowledgementForPatchingRunningApplications "
                  "{\"com.apple.Safari\":\"Sa\\\"fari $(touch /private/tmp/x) `id`\"}"},
      .calls = opened("\"Sa\"fari $(touch /private/tmp/x) `id`\" 0 false"),
      .check = leaves({})}});

const MacTests answers("PromptAnswer", [] {
  struct Answer {
    RowName name;
    Texts settings;
    std::string line;
    bool agreesWhenForced = true;  ///< A forced prompt counts as agreed.
  };
  const std::string launchFailed = kRequest + "Failed to launch the running app prompt.";
  const std::string notFound = kRead + "Return code file not found. ";
  const std::string invalid = kRead + "Return code file content is invalid. ";
  const std::string unreadable = kRead + "Failed to read return code file. ";
  const std::vector<Answer> rows{
      {"OpenFails", {"open/exits=1"}, launchFailed, false},
      {"PromptFailsOnOldSystems", {"mac/version=11.7", "prompt/exits=3"}, launchFailed, false},
      {"TimesOut",
       {"prompt/user=ignores", "customization/skipTimerCountInMinutes=0"},
       kWait + "User acknowledgement timed out after 30 seconds."},
      {"NegativeTimeout",
       {"prompt/user=ignores", "customization/skipTimerCountInMinutes=-1"},
       kWait + "User acknowledgement timed out after -30 seconds."},
      {"QuitsWithoutAnAnswer", {"prompt/user=quits"}, notFound},
      {"Crashes", {"prompt/user=crashes"}, notFound},
      {"NotAnInteger", {"prompt/writes=94.0"}, invalid},
      {"Empty", {"prompt/writes="}, invalid},
      {"NotUTF8", {"prompt/writes=bytes that are not text"}, unreadable},
      {"Directory", {"prompt/writes=a directory"}, unreadable},
      {"FIFO", {"prompt/writes=a fifo"}, unreadable},
      {"SymbolicLink", {"prompt/writes=a link"}, unreadable},
      {"WrittenByAnotherUser", {"users/logged on=alice bob", "prompt/answers as=bob"}, unreadable},
      {"Declined",
       {"prompt/user=postpones"},
       kRead + "User acknowledgement received: false (return code: 1).",
       false}};
  std::vector<MacTest> tests{{.name = "IntegerWithWhiteSpace",
                              .settings = prompting({"prompt/writes= +094 \n"}),
                              .results = {kAgreed},
                              .calls = kAnyCalls}};
  for (const Answer& row : rows) {
    for (const bool forced : {false, true}) {
      const std::string fallback = forced ? "true" : "false";
      const bool logsFallback = row.line.ends_with(' ');
      tests.push_back(
          {.name = row.name + (forced ? "Forced" : ""),
           .settings = prompting(row.settings) + Texts{"customization/forceDeploy=" + fallback},
           .results = {forced && row.agreesWhenForced ? kAgreed : kLater},
           .lines = {logsFallback ? row.line + "Returning fallback: " + fallback + ".…" : row.line},
           .calls = kAnyCalls,
           .check = [](const Ended& mac) {
             EXPECT_THAT(mac.leftApps, testing::Not(testing::Contains(kPrompt)));
           }});
    }
  }
  return tests;
}());

/// Settings for a user who postpones immediately.
Texts postponing(const Texts& settings) {
  return prompting({"prompt/user=postpones", "prompt/after=200 ms"}) + settings;
}

/// Settings for counts from an earlier run.
Texts counted(const std::string& today, const std::string& total) {
  const std::string section = "prompt data com.apple.Safari/";
  return {section + "today=" + today, section + "patchID=\"310990\"",
          section + "promptShownCount=" + total};
}

/// Checks that the prompt counts' file has exactly these values.
auto counts(const std::string& today, const std::string& total, const std::string& setAside = "") {
  return [=](const Ended& mac) {
    const std::string begin = mac.counts.substr(0, mac.counts.find("<dict>"));
    EXPECT_EQ(mac.counts, begin + "<dict><key>com.apple.Safari</key><dict><key>DAY</key><integer>" +
                              today +
                              "</integer><key>patchID</key><string>310990</string><key>"
                              "promptShownCount</key><integer>" +
                              total + "</integer></dict></dict></plist>");
    EXPECT_EQ(mac.setAside, setAside);
  };
}
void countsNothing(const Ended& mac) { EXPECT_EQ(mac.counts, ""); }

std::string skips(const std::string& attempts) {
  return "customization/numberOfSkipAttempts=" + attempts;
}

const std::string kNewVersion =
    kEvaluator + "New version detected for bundleID: com.apple.Safari. Resetting prompt data.";
const std::string kDefaultFlow =
    kEvaluator + "Daily prompt limit and number of skip attempts are both 0, Using default flow.";
const std::string kExceeded =
    kEvaluator +
    "Exceeded the number of skip attempts, skipping deployment, total number of prompts shown: ";
const std::string kLimitReached = kEvaluator + "Daily prompt limit reached ";
const std::string kFetched =
    "info " + kStore + "data(for:): Fetched prompt data for com.apple.Safari: ";
const std::string kSaved =
    "info " + kStore + "saveData(_:for:): Saved prompt data for com.apple.Safari: ";

const MacTests counting("PromptCounts", [] {
  std::vector<MacTest> tests{
      {.name = "PostponementsRunOut",
       .settings = postponing({skips("2")}),
       .results = {kLater, kLater, kLater},
       .lines = {kNewVersion, kExceeded + "2", kFetched + "nil.",
                 kFetched +
                     "Optional([\"DAY\": 2, \"patchID\": \"310990\", \"promptShownCount\": 2]).",
                 kSaved + "[\"DAY\": 3, \"patchID\": \"310990\", \"promptShownCount\": 3]."},
       .calls = opened("Safari 2 false") + opened("Safari 1 false") + opened("Safari 0 true"),
       .why = {"Safari running; the user declined; 1 postponement left",
               "Safari running; the user declined; 0 postponements left",
               "Safari running; the user declined"},
       .check = counts("3", "3"),
       .times = 3},
      {.name = "DailyPromptsRunOut",
       .settings = postponing({"customization/dailyPromptLimit=1"}),
       .results = {kLater, kLater},
       .lines = {kLimitReached + "(1/1) for bundleID: com.apple.Safari. Skipping deployment."},
       .calls = opened("Safari 0 false"),
       .why = {"Safari running; the user declined", "Safari running; no more prompts today"},
       .check = counts("1", "1"),
       .times = 2},
      {.name = "AgreedIsCounted",
       .settings = prompting({skips("5")}) + counted("1", "2"),
       .results = {kAgreed},
       .calls = opened("Safari 3 false"),
       .check = counts("2", "3")},
      {.name = "ForcedWithPostponementsLeft",
       .settings = prompting({skips("3"), "customization/forceDeploy=true", "prompt/user=quits"}),
       .results = {kAgreed},
       .calls = opened("Safari 3 false"),
       .why = {"Safari running; forced, nobody answered the prompt"},
       .check = counts("1", "1")},
      {.name = "ForcedAfterTheLastPostponement",
       .results = {kAgreed},
       .lines = {kRead + "Return code file not found. Returning fallback: true."},
       .calls = opened("Safari 0 true"),
       .check = counts("2", "3"),
       .scenario = "last-attempt"},
      {.name = "NothingIsCountedWithoutLimits",
       .settings = postponing({}),
       .results = {kLater},
       .lines = {kDefaultFlow},
       .calls = opened("Safari 0 false"),
       .check = countsNothing},
      {.name = "UnreadableCustomization",
       .settings = postponing({"customization/content=<plist><dict>"}),
       .results = {kLater},
       .lines = {kCantDecode, kDefaultFlow},
       .calls = opened("Safari 0 false"),
       .check = countsNothing},
      {.name = "PromptsEvenIfCountsCantBeSaved",
       .settings = postponing({skips("2"), "agent/data directory=read-only"}),
       .results = {kLater},
       .lines = {"error " + kStore +
                 "saveData(_:for:): Unable to save prompt data for com.apple.Safari: [\"DAY\": 1, "
                 "\"patchID\": \"310990\", \"promptShownCount\": 1]. Error: …"},
       .calls = opened("Safari 2 false"),
       .check = countsNothing}};
  // An unusable file is renamed.
  for (const auto& [name, content, setAside] : std::initializer_list<std::array<std::string, 3>>{
           {"DamagedFile", "<plist><dict><key>", "<plist><dict><key>"},
           {"Array", "<plist><array/></plist>", "<plist><array/></plist>"},
           {"SymbolicLink", "a link", "not the agent's"}}) {
    tests.push_back({.name = name + "InsteadOfCounts",
                     .settings = postponing({skips("2"), "agent/prompt data=" + content}),
                     .results = {kLater},
                     .lines = {kFetched + "nil.", kNewVersion},
                     .calls = opened("Safari 2 false"),
                     .check = counts("1", "1", setAside)});
  }
  return tests;
}());

}  // namespace
}  // namespace end_to_end
