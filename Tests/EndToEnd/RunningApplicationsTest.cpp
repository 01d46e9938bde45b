// Running applications and the prompt, from the detection to the user's answer.
#include <gmock/gmock.h>

#include <algorithm>

#include "Tests/EndToEnd/MacRun.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kProcessor = "PatchActions/Main/ProcessPatchActions";
constexpr const char* kHandler = "applicationRunningCheck(for:using:)";
const std::string kFolder = "Validators/RunningApplicationCheckRelated/";
const std::string kUserAck = kFolder + "RunningAppUserAck";
constexpr const char* kRequest = "requestUserAcknowledgement(for:using:timeout:)";
constexpr const char* kWait = "waitForPromptDismissal(timeout:)";
constexpr const char* kRead = "readUserAcknowledgement(fallback:)";
const std::string kSafari = "/Applications/Safari.app/Contents/MacOS/Safari";
const std::string kPrompt =
    "/Library/Application Support/VexloAgent/bin/VexloAppRunningNotifier.app/Contents/MacOS/"
    "VexloAppRunningNotifier";
const std::string kReturnCodeFile =
    "/Library/Application Support/VexloAgent/logs/UserLogs/ApplicationRunningPromptretcode.txt";
const std::string kRunning = "application com.apple.Safari/name=Safari";
const std::string kPromptAllowed = "patch data/ApplicationRunningPrompt=true";
const std::string kLater = "2008 applyLater appIsRunning";
const std::string kAgreed =
    "2008 success gotUserAcknowledgementForPatchingRunningApplications "
    "{\"com.apple.Safari\":\"Safari\"}";

std::vector<std::string> commandLines(const Ended& mac) {
  std::vector<std::string> all;
  std::ranges::transform(mac.calls, std::back_inserter(all), commandLine);
  return all;
}

/// A Mac on which Safari runs and the agent allows the prompt, with more settings.
MacRun prompting(std::vector<std::string> settings,
                 const std::string& action = "2008=com.apple.Safari") {
  settings.insert(settings.begin(), {kRunning, kPromptAllowed, "actions/" + action});
  return {.settings = std::move(settings)};
}

const MacTests policy([] {
  const char* const suite = "RunningApplications";
  addMacTest(suite, "NoIdentifiers", action("2008="), [](const Ended& mac) {
    EXPECT_THAT(mac.results, ElementsAre("2008 applyLater inSufficientArguments"));
    EXPECT_THAT(mac.log, Contains(error(kProcessor, kHandler,
                                        "Unable to perform application running check, not enough "
                                        "arguments. Arguments [].")));
  });
  addMacTest(suite, "NoneRuns",
             action("2008=com.apple.Safari com.apple.mail",
                    {kRunning, "application com.apple.Safari/instances=0"}),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2008 success"));
               EXPECT_THAT(
                   mac.log,
                   IsSupersetOf({info(kFolder + "RunningAppDetector", "isAnyAppRunning(for:)",
                                      "No running Apps detected for the bundleID: com.apple.mail."),
                                 info(kFolder + "RunningAppDetector", "isAnyAppRunning(for:)",
                                      "No running Apps detected for the bundleIDs: "
                                      "[\"com.apple.Safari\", \"com.apple.mail\"].")}));
             });
  addMacTest(suite, "AlwaysKillEndsEveryInstance",
             action("2008=com.apple.mail com.apple.Safari",
                    {kRunning, "application com.apple.Safari/instances=2",
                     "patch data/AlwaysKillApps=true"}),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre("2008 success"));
               EXPECT_EQ(std::ranges::count_if(
                             mac.messages(),
                             [](const std::string& message) {
                               return message.starts_with("Attempting to terminate app: Safari ") &&
                                      message.ends_with(", Termination status: true.");
                             }),
                         2);
               EXPECT_THAT(mac.leftApps, IsEmpty());
               EXPECT_THAT(commandLines(mac), IsEmpty());
               EXPECT_GT(mac.seconds, 4);
             });
  addMacTest(suite, "NoPromptIsAllowed",
             action("2008=com.apple.Safari", {kRunning, "patch data/AlwaysKillApps=\"true\""}),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre(kLater));
               EXPECT_THAT(
                   mac.log,
                   IsSupersetOf({info(kFolder + "RunningAppPolicy", "isAlwaysKillAppsEnabled()",
                                      "Running application check is enabled since "
                                      "AlwaysKillApps is not enabled."),
                                 info(kFolder + "RunningAppPolicy", "isPromptEnabled()",
                                      "Prompt for running applications is disabled.")}));
               EXPECT_THAT(mac.leftApps, ElementsAre(kSafari));
             });
});

const MacTests launch([] {
  const char* const suite = "PromptLaunch";
  addMacTest(
      suite, "OpenStartsItInTheConsoleUsersSession",
      prompting({"application com.apple.mail/name=Mail", "application com.apple.mail/instances=0"},
                "2008=com.apple.mail com.apple.Safari"),
      [](const Ended& mac) {
        EXPECT_THAT(mac.results, ElementsAre(kAgreed));
        EXPECT_THAT(commandLines(mac),
                    ElementsAre("open -g -a \"" + kPrompt + "\" --args Safari 0 false",
                                "VexloAppRunningNotifier Safari 0 false"));
        EXPECT_EQ(mac.calls.back().user, "alice");
        EXPECT_THAT(mac.log,
                    IsSupersetOf({info(kUserAck, kRequest,
                                       "Launching prompt with command: open -g -a \"" + kPrompt +
                                           "\" --args \"Safari\" \"0\" \"false\""),
                                  info(kUserAck, kRequest, "output: , exitCode: 0"),
                                  info(kUserAck, kWait, "Prompt app exited."),
                                  info(kUserAck, kRead,
                                       "User acknowledgement received: true (return code: 94)."),
                                  info(kFolder + "RunningAppPromptCleaner", "clean()",
                                       "Removing file: " + kReturnCodeFile + " - 2"),
                                  info(kFolder + "RunningAppPromptCleaner", "clean()",
                                       "Removing file: " + kReturnCodeFile + " - 0")}));
        EXPECT_THAT(mac.leftFiles, IsEmpty());
        EXPECT_THAT(mac.leftApps, IsEmpty());
      });
  addMacTest(suite, "OpenBringsItToTheFront",
             prompting({"customization/allowScreenGrab=true", "customization/dailyPromptLimit=3",
                        "users/console=bob", "prompt/user=postpones"}),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre(kLater));
               EXPECT_THAT(commandLines(mac),
                           ElementsAre("open -a \"" + kPrompt + "\" --args Safari 0 true",
                                       "VexloAppRunningNotifier Safari 0 true"));
               EXPECT_EQ(mac.calls.back().user, "bob");
               EXPECT_THAT(mac.log,
                           Contains(info(kUserAck, kRead,
                                         "User acknowledgement received: false (return code: "
                                         "1).")));
               EXPECT_THAT(mac.leftApps, ElementsAre(kSafari));
             });
  addMacTest(suite, "SudoRunsItOnOldSystems", prompting({"mac/version=11.7.10"}),
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre(kAgreed));
               EXPECT_THAT(commandLines(mac),
                           ElementsAre("sudo -u alice \"" + kPrompt + "\" Safari 0 false",
                                       "VexloAppRunningNotifier Safari 0 false"));
               EXPECT_EQ(mac.calls.back().user, "alice");
               EXPECT_THAT(mac.log, Contains(info(kUserAck, kRequest,
                                                  "Launching prompt with command: sudo -u alice "
                                                  "\"" +
                                                      kPrompt +
                                                      "\" \"Safari\" \"0\" "
                                                      "\"false\"")));
               EXPECT_THAT(mac.leftFiles, IsEmpty());
             });
  addMacTest(suite, "AnApplicationsNameIsNoCommand",
             prompting({"application com.apple.Safari/name=Sa\"fari $(touch /private/tmp/x) `id`"}),
             [](const Ended& mac) {
               EXPECT_EQ(mac.calls.back().arguments[0], "Sa\"fari $(touch /private/tmp/x) `id`");
               EXPECT_EQ(mac.status, 0);
             });
});

const MacTests answers([] {
  const char* const suite = "PromptAnswer";
  struct Answer {
    std::string name;
    std::vector<std::string> settings;
    std::string line;
    bool forcedToo = true;  ///< The forced attempt takes the fallback.
  };
  const std::vector<Answer> rows{
      {"OpenFails", {"open/exits=1"}, "Failed to launch the running app prompt.", false},
      {"PromptFailsOnOldSystems",
       {"mac/version=11.7", "prompt/exits=3"},
       "Failed to launch the running app prompt.",
       false},
      {"TimesOut",
       {"prompt/user=ignores", "customization/skipTimerCountInMinutes=0"},
       "User acknowledgement timed out after 30 seconds."},
      {"NoTimeAtAll",
       {"prompt/user=ignores", "customization/skipTimerCountInMinutes=-1"},
       "User acknowledgement timed out after -30 seconds."},
      {"QuitsWithoutAnAnswer", {"prompt/user=quits"}, "Return code file not found. "},
      {"Crashes", {"prompt/user=crashes"}, "Return code file not found. "},
      {"AnswerIsNoNumber", {"prompt/writes=94.0"}, "Return code file content is invalid. "},
      {"AnswerIsEmpty", {"prompt/writes="}, "Return code file content is invalid. "},
      {"AnswerIsNoText",
       {"prompt/writes=bytes that are no text"},
       "Failed to read return code file. "},
      {"AnswerIsADirectory", {"prompt/writes=a directory"}, "Failed to read return code file. "},
      {"AnswerIsAFifo", {"prompt/writes=a fifo"}, "Failed to read return code file. "},
      {"AnswerIsALink", {"prompt/writes=a link"}, "Failed to read return code file. "}};
  for (const bool forced : {false, true}) {
    for (const Answer& row : rows) {
      std::vector<std::string> settings = row.settings;
      settings.emplace_back(forced ? "customization/forceDeploy=true"
                                   : "customization/forceDeploy=false");
      const bool yes = forced && row.forcedToo;
      addMacTest(suite, row.name + (forced ? "Forced" : ""), prompting(std::move(settings)),
                 [row, yes](const Ended& mac) {
                   EXPECT_THAT(mac.results, ElementsAre(yes ? kAgreed : kLater));
                   const bool tellsFallback = row.line.ends_with(' ');
                   EXPECT_THAT(
                       mac.log,
                       Contains(AllOf(
                           Field(&LogRecord::file, kUserAck),
                           Field(&LogRecord::message,
                                 StartsWith(row.line + (!tellsFallback ? ""
                                                        : yes          ? "Returning fallback: true."
                                                              : "Returning fallback: false."))))));
                   EXPECT_THAT(mac.leftApps, Not(Contains(kPrompt)));
                 });
    }
  }
  addMacTest(suite, "ANumberBetweenBlanks", prompting({"prompt/writes= +094 \n"}),
             [](const Ended& mac) { EXPECT_THAT(mac.results, ElementsAre(kAgreed)); });
  addMacTest(suite, "AClearNoCountsOnTheForcedAttemptToo",
             prompting({"prompt/user=postpones", "customization/forceDeploy=true"}),
             [](const Ended& mac) { EXPECT_THAT(mac.results, ElementsAre(kLater)); });
});

const MacTests counting([] {
  const char* const suite = "PromptCounts";
  const std::string evaluator = kFolder + "RunningAppPromptEvaluator";
  constexpr const char* kEvaluate = "evaluate(for:having:)";
  const auto countedTimes = [](int times, std::vector<std::string> settings) {
    settings.insert(settings.end(), {"prompt/user=postpones", "prompt/after=200 ms"});
    MacRun run = prompting(std::move(settings));
    run.times = times;
    return run;
  };
  addMacTest(suite, "PostponementsRunOut",
             countedTimes(3, {"customization/numberOfSkipAttempts=2"}), [=](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre(kLater, kLater, kLater));
               std::vector<std::string> prompts;
               for (const Call& call : mac.callsOf("VexloAppRunningNotifier")) {
                 prompts.push_back(commandLine(call));
               }
               EXPECT_THAT(prompts, ElementsAre("VexloAppRunningNotifier Safari 2 false",
                                                "VexloAppRunningNotifier Safari 1 false",
                                                "VexloAppRunningNotifier Safari 0 true"));
               EXPECT_THAT(
                   mac.log,
                   IsSupersetOf({info(evaluator, kEvaluate,
                                      "New version detected for bundleID: com.apple.Safari. "
                                      "Resetting prompt data."),
                                 info(evaluator, kEvaluate,
                                      "Exceeded the number of skip attempts, skipping deployment, "
                                      "total number of prompts shown: 2")}));
               EXPECT_THAT(mac.promptData, HasSubstr("<integer>3</integer>"));
             });
  addMacTest(suite, "ADaysPromptsRunOut", countedTimes(2, {"customization/dailyPromptLimit=1"}),
             [=](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre(kLater, kLater));
               EXPECT_EQ(mac.callsOf("VexloAppRunningNotifier").size(), 1U);
               EXPECT_THAT(mac.log, Contains(info(evaluator, kEvaluate,
                                                  "Daily prompt limit reached (1/1) for bundleID: "
                                                  "com.apple.Safari. Skipping deployment.")));
             });
  addMacTest(suite, "ForcedAfterTheLastPostponement", {.scenario = "last-attempt"},
             [](const Ended& mac) {
               EXPECT_THAT(mac.results, ElementsAre(kAgreed));
               EXPECT_THAT(mac.messages(),
                           Contains("Return code file not found. Returning fallback: true."));
               EXPECT_THAT(mac.leftApps, IsEmpty());
             });
  addMacTest(suite, "AnotherPatchStartsAgain",
             countedTimes(1, {"customization/dailyPromptLimit=1",
                              "prompt data com.apple.Safari/patchID=\"1\"",
                              "prompt data com.apple.Safari/promptShownCount=9",
                              "prompt data com.apple.Safari/today=9"}),
             [](const Ended& mac) {
               EXPECT_EQ(mac.callsOf("VexloAppRunningNotifier").size(), 1U);
               EXPECT_THAT(mac.promptData, HasSubstr("<string>310990</string>"));
             });
  addMacTest(suite, "WithoutLimitsNothingIsCounted", countedTimes(1, {}), [=](const Ended& mac) {
    EXPECT_THAT(mac.log, Contains(info(evaluator, kEvaluate,
                                       "Daily prompt limit and number of skip attempts are both "
                                       "0, Using default flow.")));
    EXPECT_EQ(mac.promptData, "");
  });
  addMacTest(
      suite, "OneMistypedSettingDiscardsAll",
      countedTimes(1,
                   {"customization/numberOfSkipAttempts=2", "customization/forceDeploy=\"true\""}),
      [=](const Ended& mac) {
        EXPECT_THAT(
            mac.log,
            Contains(AllOf(
                LoggedBy(kFolder + "RunningAppPromptCustomizationProvider", "customizationData"),
                Field(&LogRecord::level, LogCore::LogLevel::error),
                Field(&LogRecord::message, StartsWith("Failed to decode customization data. "
                                                      "Error: ")))));
        EXPECT_EQ(commandLine(mac.calls.back()), "VexloAppRunningNotifier Safari 0 false");
      });
  addMacTest(
      suite, "CountsThatCantBeSavedDontStopThePrompt",
      countedTimes(1, {"customization/numberOfSkipAttempts=2", "agent/data directory=read-only"}),
      [=](const Ended& mac) {
        EXPECT_THAT(mac.results, ElementsAre(kLater));
        EXPECT_THAT(
            mac.log,
            Contains(AllOf(LoggedBy(kFolder + "RunningAppPromptDataStore", "saveData(_:for:)"),
                           Field(&LogRecord::level, LogCore::LogLevel::error),
                           Field(&LogRecord::message, StartsWith("Unable to save prompt data for "
                                                                 "com.apple.Safari: ")))));
        EXPECT_EQ(commandLine(mac.calls.back()), "VexloAppRunningNotifier Safari 2 false");
      });
});

}  // namespace
}  // namespace end_to_end
