// Running applications and the prompt, from the detection to the user's answer.
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
/// Safari runs and is what the action looks for.
const Texts kSafari{"application com.apple.Safari/name=Safari", "actions/2008=com.apple.Safari"};

/// That Mac where the agent allows the prompt, with more settings.
Texts prompting(const Texts& settings) {
  return kSafari + Texts{"patch data/ApplicationRunningPrompt=true"} + settings;
}

/// The calls by which the prompt gets to the user, with its arguments as the user sees them.
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
    {{"NoIdentifiers", "actions/2008=", "2008 applyLater inSufficientArguments",
      "error " + kHandler +
          "Unable to perform application running check, not enough arguments. "
          "Arguments []."},
     {"NoneRuns",
      "actions/2008=com.apple.Safari com.apple.mail | application com.apple.Safari/instances=0",
      "2008 success",
      kDetector + "No running Apps detected for the bundleID: com.apple.mail. | " + kDetector +
          "No running Apps detected for the bundleIDs: [\"com.apple.Safari\", "
          "\"com.apple.mail\"]."},
     {"AlwaysKillEndsEveryInstance",
      kSafari + "application com.apple.Safari/instances=2 | patch data/AlwaysKillApps=true",
      "2008 success", "", "",
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
     {"NoPromptIsAllowed", kSafari + "patch data/AlwaysKillApps=\"true\"", kLater,
      kDetector + "Apps are running for bundleID: com.apple.Safari::[Safari (PID … | info " +
          kFolder +
          "RunningAppPolicy isAlwaysKillAppsEnabled(): Running application check "
          "is enabled since AlwaysKillApps is not enabled. | info " +
          kFolder +
          "RunningAppPolicy isPromptEnabled(): Prompt for running applications is "
          "disabled.",
      "", leaves(kProgram)},
     {"EndsBeforeItsNameIsAskedFor",
      prompting("application com.apple.Safari/quits=Apps are running for bundleID"), "2008 success",
      "error " + kDetails +
          "Unable to obtain app name or executable path for bundleID: com.apple.Safari. | error " +
          kHandler +
          "Unable to obtain app names for the following bundle IDs: [\"com.apple.Safari\"]. "
          "Considering as no app is running."},
     {"TwoNamesInOneOrderAndARepeatedIdentifier",
      prompting("actions/2008=org.b org.a org.c org.b | application org.b/name=Bee | application "
                "org.a/name=A, too | customization/dailyPromptLimit=9"),
      "2008 success gotUserAcknowledgementForPatchingRunningApplications "
      "{\"org.a\":\"A, too\",\"org.b\":\"Bee\"}",
      "info " + kDetails +
          "App name: Bee, executable path: /Applications/b.app/Contents/MacOS/b for bundleID: "
          "org.b. | error " +
          kDetails + "Unable to obtain app name or executable path for bundleID: org.c. | info " +
          kStore + "data(for:): Fetched prompt data for org.b,org.a,org.c,org.b: nil.",
      opened("\"A, too, Bee\" 0 false"), leaves(kProgram)}});

const MacTests launch(
    "PromptLaunch",
    {{"OpenStartsItInTheConsoleUsersSession", prompting(""), kAgreed,
      kRequest + "Launching prompt with command: open -g -a \"" + kPrompt +
          "\" --args \"Safari\" \"0\" \"false\" | " + kRequest + "output: , exitCode: 0 | " +
          kWait + "Prompt app exited. | " + kRead +
          "User acknowledgement received: true (return code: 94). | " + kCleaner +
          "Removing file: " + kReturnCodeFile + " - 2 | " + kCleaner +
          "Removing file: " + kReturnCodeFile + " - 0",
      opened("Safari 0 false"), leaves("")},
     {"OpenBringsItToTheFront",
      prompting("customization/allowScreenGrab=true | users/console=bob | prompt/user=postpones"),
      kLater, kRead + "User acknowledgement received: false (return code: 1).",
      opened("Safari 0 true", "bob"), leaves(kProgram)},
     {"SudoRunsItOnOldSystems", prompting("mac/version=11.7.10"), kAgreed,
      kRequest + "Launching prompt with command: sudo -u alice \"" + kPrompt +
          "\" \"Safari\" \"0\" \"false\"",
      "sudo -u alice \"" + kPrompt +
          "\" Safari 0 false | VexloAppRunningNotifier Safari 0 false as alice",
      leaves("")},
     {"SudoFindsNobodyOnOldSystems",
      prompting("mac/version=11.7 | users/console=none | customization/forceDeploy=true"), kLater,
      kRequest + "output: sudo: unknown user: NOUSERNAME\\n, exitCode: 1 | " + kRequest +
          "Failed to launch the running app prompt.",
      "sudo -u NOUSERNAME \"" + kPrompt + "\" Safari 0 false", leaves(kProgram)},
     {"AnApplicationsNameIsNoCommand",
      prompting("application com.apple.Safari/name=Sa\"fari $(touch /private/tmp/x) `id`"),
      "2008 success gotUserAcknowledgementForPatchingRunningApplications "
      "{\"com.apple.Safari\":\"Sa\\\"fari $(touch /private/tmp/x) `id`\"}",
      "", opened("\"Sa\"fari $(touch /private/tmp/x) `id`\" 0 false"), leaves("")}});

const MacTests answers("PromptAnswer", [] {
  struct Answer {
    std::string name;
    Texts settings;
    std::string line;
    bool forcedToo = true;  ///< The forced attempt takes the fallback.
  };
  const std::string launchFailed = kRequest + "Failed to launch the running app prompt.";
  const std::string notFound = kRead + "Return code file not found. ";
  const std::string invalid = kRead + "Return code file content is invalid. ";
  const std::string unreadable = kRead + "Failed to read return code file. ";
  const std::vector<Answer> rows{
      {"OpenFails", "open/exits=1", launchFailed, false},
      {"PromptFailsOnOldSystems", "mac/version=11.7 | prompt/exits=3", launchFailed, false},
      {"TimesOut", "prompt/user=ignores | customization/skipTimerCountInMinutes=0",
       kWait + "User acknowledgement timed out after 30 seconds."},
      {"NoTimeAtAll", "prompt/user=ignores | customization/skipTimerCountInMinutes=-1",
       kWait + "User acknowledgement timed out after -30 seconds."},
      {"QuitsWithoutAnAnswer", "prompt/user=quits", notFound},
      {"Crashes", "prompt/user=crashes", notFound},
      {"IsNoNumber", "prompt/writes=94.0", invalid},
      {"IsEmpty", "prompt/writes=", invalid},
      {"IsNoText", "prompt/writes=bytes that are no text", unreadable},
      {"IsADirectory", "prompt/writes=a directory", unreadable},
      {"IsAFifo", "prompt/writes=a fifo", unreadable},
      {"IsALink", "prompt/writes=a link", unreadable},
      {"IsAnotherUsersWord", "users/logged on=alice bob | prompt/answers as=bob", unreadable},
      {"IsAClearNo", "prompt/user=postpones",
       kRead + "User acknowledgement received: false (return code: 1).", false}};
  std::vector<MacTest> tests{
      {"IsANumberBetweenBlanks", prompting("prompt/writes= +094 \n"), kAgreed, "", kAnyCalls}};
  for (const Answer& row : rows) {
    for (const bool forced : {false, true}) {
      const std::string fallback = forced ? "true" : "false";
      const bool tellsFallback = row.line.ends_with(' ');
      tests.push_back(
          {row.name + (forced ? "Forced" : ""),
           prompting(row.settings) + Texts{"customization/forceDeploy=" + fallback},
           {forced && row.forcedToo ? kAgreed : kLater},
           {tellsFallback ? row.line + "Returning fallback: " + fallback + ".…" : row.line},
           kAnyCalls,
           [](const Ended& mac) {
             EXPECT_THAT(mac.leftApps, testing::Not(testing::Contains(kPrompt)));
           }});
    }
  }
  return tests;
}());

const std::string kLargest = "9223372036854775807";

/// That Mac where the user postpones at once.
Texts postponing(const Texts& settings) {
  return prompting("prompt/user=postpones | prompt/after=200 ms") + settings;
}

/// Counts that an earlier run left, as settings.
Texts counted(const std::string& today, const std::string& total,
              const std::string& patch = "310990") {
  const std::string section = "prompt data com.apple.Safari/";
  return {section + "today=" + today, section + "patchID=\"" + patch + "\"",
          section + "promptShownCount=" + total};
}

/// That the counts' file holds these and nothing else.
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

std::string limit(const std::string& prompts) {
  return "customization/dailyPromptLimit=" + prompts;
}
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
       .settings = postponing(skips("2")),
       .results = kLater + " | " + kLater + " | " + kLater,
       .lines = kNewVersion + " | " + kExceeded + "2 | " + kFetched + "nil. | " + kFetched +
                "Optional([\"DAY\": 2, \"patchID\": \"310990\", "
                "\"promptShownCount\": 2]). | " +
                kSaved + "[\"DAY\": 3, \"patchID\": \"310990\", \"promptShownCount\": 3].",
       .calls = opened("Safari 2 false") + opened("Safari 1 false") + opened("Safari 0 true"),
       .check = counts("3", "3"),
       .times = 3},
      {.name = "ADaysPromptsRunOut",
       .settings = postponing(limit("1")),
       .results = kLater + " | " + kLater,
       .lines = kLimitReached + "(1/1) for bundleID: com.apple.Safari. Skipping deployment.",
       .calls = opened("Safari 0 false"),
       .check = counts("1", "1"),
       .times = 2},
      {"TheDaysLimitComesFirst", postponing({limit("2"), skips("2")}) + counted("5", "7"), kLater,
       kLimitReached + "(5/2) for bundleID: com.apple.Safari. Skipping deployment.", "",
       counts("5", "7")},
      {"AgreedIsCounted", prompting(skips("5")) + counted("1", "2"), kAgreed, "",
       opened("Safari 3 false"), counts("2", "3")},
      {"ForcedWithPostponementsLeft",
       prompting({skips("3"), "customization/forceDeploy=true", "prompt/user=quits"}), kAgreed, "",
       opened("Safari 3 false"), counts("1", "1")},
      {"ForcedAfterTheLastPostponement", "", kAgreed,
       kRead + "Return code file not found. Returning fallback: true.", opened("Safari 0 true"),
       counts("2", "3"), "last-attempt"},
      {"AnotherPatchStartsAgain", postponing(limit("1")) + counted("9", "9", "1"), kLater,
       kNewVersion, opened("Safari 0 false"), counts("1", "1")},
      {"WithoutLimitsNothingIsCounted", postponing(""), kLater, kDefaultFlow,
       opened("Safari 0 false"), countsNothing},
      {"NegativeLimitsAreNone", postponing({limit("-9223372036854775808"), skips("-1")}), kLater,
       kDefaultFlow, opened("Safari 0 false"), countsNothing},
      {"HugeLimitsAndCountsThatAreTexts",
       postponing({limit(kLargest), skips(kLargest)}) + counted("\"4\"", "\"4\""), kLater, "",
       opened("Safari " + kLargest + " false"), counts("1", "1")},
      {"CountsAtTheirEnd",
       postponing({limit(kLargest), skips("9")}) + counted("9223372036854775806", kLargest), kLater,
       kExceeded + kLargest, opened("Safari 0 true"), counts(kLargest, kLargest)},
      {"OneMistypedSettingDiscardsAll",
       postponing({skips("2"), "customization/forceDeploy=\"true\""}), kLater,
       kCantDecode + " | " + kDefaultFlow, opened("Safari 0 false"), countsNothing},
      {"ACustomizationThatIsNoPropertyList", postponing("customization/content=<plist><dict>"),
       kLater, kCantDecode + " | " + kDefaultFlow, opened("Safari 0 false"), countsNothing},
      {"CountsThatCantBeSavedDontStopThePrompt",
       postponing({skips("2"), "agent/data directory=read-only"}), kLater,
       "error " + kStore +
           "saveData(_:for:): Unable to save prompt data for com.apple.Safari: "
           "[\"DAY\": 1, \"patchID\": \"310990\", \"promptShownCount\": 1]. "
           "Error: …",
       opened("Safari 2 false"), countsNothing}};
  // What lies in the file's place and can't be used is kept beside it.
  for (const auto& [name, content, setAside] : std::initializer_list<std::array<std::string, 3>>{
           {"ADamagedFile", "<plist><dict><key>", "<plist><dict><key>"},
           {"AnArray", "<plist><array/></plist>", "<plist><array/></plist>"},
           {"ALink", "a link", "not the agent's"}}) {
    tests.push_back({name + "InPlaceOfTheCounts",
                     postponing({skips("2"), "agent/prompt data=" + content}), kLater,
                     kFetched + "nil. | " + kNewVersion, opened("Safari 2 false"),
                     counts("1", "1", setAside)});
  }
  return tests;
}());

}  // namespace
}  // namespace end_to_end
