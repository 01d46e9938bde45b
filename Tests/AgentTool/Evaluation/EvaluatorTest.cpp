// Evaluates actions on recorded facts.
#include "AgentTool/Evaluation/Evaluator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentTool/Facts/Facts.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool {
namespace {

using platform::PropertyList;

struct EvaluationCase {
  std::string name;
  std::string action;                      ///< Code and arguments, as in the action file.
  void (*change)(Facts&) = [](Facts&) {};  ///< Applied to a machine on which everything passes.
  std::string answer;                      ///< With the next step or the reason.
};

Facts healthyMachine() {
  Facts facts;
  facts.promptDay = "24-11-2026";
  facts.isAppleSilicon = true;
  facts.macOSMajorVersion = 14;
  facts.powerSource = vexlo::BatteryPower{82};
  facts.freeDiskSpace = 64'000'000'000;
  facts.consoleUser = "alice";
  facts.consoleUserID = 501;
  facts.loggedOnUsers = "alice";
  facts.mdmEnrollment = vxutils::EnrollmentType::user_approved;
  facts.patchData.values = PropertyList::Dictionary{{"ApplicationRunningPrompt", true}};
  facts.applications["com.example.mail"] = {};
  facts.applications["com.example.editor"] = {{"Editor", 7, "/Editor.app/Contents/MacOS/editor"}};
  return facts;
}

/// Sets the editor's prompt counts for the patch: in total, and today.
void prompted(Facts& facts, std::int64_t total, std::int64_t today) {
  facts.promptCounts.values = PropertyList::Dictionary{
      {"com.example.editor",
       PropertyList::Dictionary{
           {"patchID", "1"}, {"promptShownCount", total}, {"24-11-2026", today}}}};
}

/// Expects every member of the measurement's JSON in its row of the table.
void expectDocumented(const vexlo::Measurement& measurement) {
  const auto rows = vexlo::knownMeasurements();
  const auto row = std::ranges::find(rows, measurement.kind(), &vexlo::MeasurementRow::kind);
  ASSERT_NE(row, rows.end()) << measurement.kind();
  const std::string json = measurement.json();
  for (std::size_t end = 0; (end = json.find("\":", end + 1)) != std::string::npos;) {
    const std::size_t begin = json.rfind('"', end - 1) + 1;
    const std::string name = json.substr(begin, end - begin);
    EXPECT_TRUE(name == "kind" || row->members.contains('`' + name + '`')) << json;
  }
}

TEST(EvaluatePageTest, ExplainsEveryPrediction) {
  std::ifstream file(VEXLO_DOCUMENTS "/EVALUATE.md");
  const std::string page(std::istreambuf_iterator<char>(file), {});
  constexpr std::array kNames{"ready", "waits", "fails"};  // of the verdicts
  for (const PredictionRow& row : kPredictions) {
    EXPECT_THAT(page, testing::HasSubstr(LogCore::text("| `", row.name, "` | ",
                                                       kNames.at(std::to_underlying(row.verdict)),
                                                       " | ", row.meaning, " |\n")));
  }
}

TEST(KnownMeasurementsTest, ListTheMembersOfInstallations) {  // the others are measured below
  expectDocumented(vexlo::ToolRunMeasurement());
  expectDocumented(vexlo::UpdateNotListed());
}

std::string answerTo(const std::string& action, const Facts& facts) {
  const std::string file = R"({"PatchActions":{"1":{)" + action + "}}}";
  const auto group = std::make_shared<const vexlo::PatchActionGroup>(
      vexlo::PatchActionGroup::decode(file, "actions"));
  Evaluator evaluator({"1", "2", "3"}, group);
  FactsReader reader;
  const auto read = reader.read(factsAsJSON(facts));
  if (!read) {
    return read.error().what();
  }
  evaluator.use(**read);
  const Evaluation& evaluation = evaluator.evaluate(vexlo::ActionID(action.substr(1, 4)));
  std::ranges::for_each(evaluation.measurements, expectDocumented);
  return evaluation.result ? describe(*evaluation.result) : evaluation.next;
}

class EvaluatorTest : public testing::TestWithParam<EvaluationCase> {
 protected:
  LogCore::ScopedLogSink quiet{std::make_shared<LogCore::NullSink>()};
};

TEST_P(EvaluatorTest, PredictsTheLibrarysResult) {
  Facts facts = healthyMachine();
  GetParam().change(facts);
  EXPECT_EQ(answerTo(GetParam().action, facts), GetParam().answer);
}

constexpr const char* kEditor = R"("2008":["com.example.mail","com.example.editor"])";
constexpr const char* kOnlyEditor = R"("2008":["com.example.editor"])";

const std::vector<EvaluationCase> kCases{
    EvaluationCase{"EnoughBattery", R"("2001":["82"])", [](Facts&) {}, "success"},
    EvaluationCase{"LowBattery", R"("2001":["83"])", [](Facts&) {},
                   "applyLater(inSufficientBattery)"},
    EvaluationCase{"OtherProcessor", R"("2001":["83"])",
                   [](Facts& facts) { facts.isAppleSilicon = false; }, "success"},
    EvaluationCase{"OtherProcessorThanIntel", R"("2002":["83"])", [](Facts&) {}, "success"},
    EvaluationCase{"UnreadableBattery", R"("2001":["83"])",
                   [](Facts& facts) { facts.powerSource.reset(); }, "success"},
    EvaluationCase{"FullDisk", R"("2005":["65"])", [](Facts&) {},
                   "applyLater(inSufficientDiskSpaceForSoftwareUpdate)"},
    EvaluationCase{"NobodyAtTheConsole", R"("2003":[])",
                   [](Facts& facts) { facts.consoleUser = "NOUSERNAME"; },
                   "applyLater(userNotLoggedIn)"},
    EvaluationCase{"TwoUsers", R"("2004":[])",
                   [](Facts& facts) { facts.loggedOnUsers = "alice,bob"; },
                   "applyLater(multipleUsersLoggedIn)"},
    EvaluationCase{"AppleNotAsked", R"("2006":["14.5"])", [](Facts&) {},
                   "not asked: softwareupdate --list"},
    EvaluationCase{"NotEnrolled", R"("2006":["14.5"])",
                   [](Facts& facts) { facts.mdmEnrollment.reset(); }, "success"},
    EvaluationCase{"AppleUnreachable", R"("2006":["14.5"])",
                   [](Facts& facts) { facts.softwareUpdateReachable = false; },
                   "applyLater(softwareUpdateUnreachable)"},
    EvaluationCase{"MDMClientFailed", R"("2006":["14.5"])",
                   [](Facts& facts) { facts.softwareUpdateReachable = true; },
                   "applyLater(softwareUpdateUnreachable)"},
    EvaluationCase{"DeferredWhereTheMachineIs", R"("2006":["14.5"])",
                   [](Facts& facts) {  // an hour before the day begins in a western time zone
                     facts.time = platform::Moment(
                                      std::chrono::sys_days(std::chrono::year(2026) / 11 / 25)) +
                                  std::chrono::hours(7);
                     facts.offsetFromUTC = -std::chrono::hours(8);
                     facts.softwareUpdateReachable = true;
                     facts.availableOSUpdates = {{.deferredUntil = "2026-11-25 00:00:00 +0000",
                                                  .productKey = "key",
                                                  .version = "14.5"}};
                   },
                   "applyLater(macOSUpdateIsDeferred(Optional(\"2026-Nov-25\")))"},
    EvaluationCase{"Notifier", R"("2009":[])", [](Facts&) {}, "success"},
    EvaluationCase{"NothingRuns", R"("2008":["com.example.mail"])", [](Facts&) {}, "success"},
    EvaluationCase{"RunsPerhaps", R"("2008":["com.example.other"])", [](Facts&) {},
                   "not asked: whether com.example.other runs"},
    EvaluationCase{"DoesNotRun", R"("2008":["com.example.other"])",
                   [](Facts& facts) { facts.allApplications = true; }, "success"},
    EvaluationCase{"Killed", kEditor,
                   [](Facts& facts) {
                     facts.patchData.values = PropertyList::Dictionary{{"AlwaysKillApps", true}};
                   },
                   "would kill Editor"},
    EvaluationCase{"NoPrompt", kEditor,
                   [](Facts& facts) { facts.patchData.values = PropertyList::Dictionary(); },
                   "applyLater(appIsRunning)"},
    EvaluationCase{"Asked", kEditor, [](Facts&) {}, "would ask"},
    EvaluationCase{"AskedWithPostponements", kOnlyEditor,
                   [](Facts& facts) {
                     facts.customization.values =
                         PropertyList::Dictionary{{"numberOfSkipAttempts", std::int64_t{3}}};
                     prompted(facts, 1, 1);
                   },
                   "would ask: 2 postponements left"},
    EvaluationCase{"Forced", kOnlyEditor,
                   [](Facts& facts) {
                     facts.customization.values =
                         PropertyList::Dictionary{{"numberOfSkipAttempts", std::int64_t{3}}};
                     prompted(facts, 3, 1);
                   },
                   "would force"},
    EvaluationCase{"AskedOftenToday", kOnlyEditor,
                   [](Facts& facts) {
                     facts.customization.values =
                         PropertyList::Dictionary{{"dailyPromptLimit", std::int64_t{1}}};
                     prompted(facts, 1, 1);
                   },
                   "applyLater(appIsRunning)"},
    EvaluationCase{"InstallsOnIntel", R"("2007":["12.7.5","macOS $x-21H1222"])",
                   [](Facts& facts) {
                     facts.isAppleSilicon = false;
                     facts.macOSMajorVersion = 12;
                   },
                   "would run launchctl asuser 501 sudo /usr/sbin/softwareupdate "
                   "--include-config-data --download \"macOS \\$x-21H1222\" --force --verbose, "
                   "then launchctl asuser 501 sudo /usr/sbin/softwareupdate "
                   "--include-config-data --install \"macOS \\$x-21H1222\" --force --verbose "
                   "--restart"},
    EvaluationCase{"InstallsWithAPasswordArgument", R"("2007":["12.7.5","x"])",
                   [](Facts& facts) {
                     facts.consoleUserID.reset();
                     facts.macOSMajorVersion = 12;
                   },
                   "would run launchctl asuser  sudo /usr/sbin/softwareupdate "
                   "--include-config-data --download \"x\" --force --verbose --user \"<user>\" "
                   "--stdinpass \"<password>\", then launchctl asuser  sudo "
                   "/usr/sbin/softwareupdate --include-config-data --install \"x\" --force "
                   "--verbose --restart --user \"<user>\" --stdinpass \"<password>\""},
    EvaluationCase{"Upgrades", R"("2010":["/Applications/Install macOS.app"])", [](Facts&) {},
                   "would run \"/Applications/Install macOS.app/Contents/Resources/"
                   "startosinstall\" --agreetolicense --forcequitapps --nointeraction --user "
                   "\"<user>\" --stdinpass"},
    EvaluationCase{"AgentDoesNotAnswer", R"("2007":["14.5","x"])",
                   [](Facts& facts) { facts.agent.serviceAnswers = false; },
                   "applyLater(unableToGetAgentServiceConnection)"},
    EvaluationCase{"IntelNeedsNoAgent", R"("2010":["/x.app"])",
                   [](Facts& facts) {
                     facts.isAppleSilicon = false;
                     facts.agent.serviceAnswers = false;
                   },
                   "would run \"/x.app/Contents/Resources/startosinstall\" --agreetolicense "
                   "--forcequitapps --nointeraction"},
    EvaluationCase{"NoCredentials", R"("2007":["14.5","x"])",
                   [](Facts& facts) { facts.agent.credentialsStored = false; },
                   "applyLater(credentialsNotEntered)"},
    EvaluationCase{"LabelIsNotListed", R"("2007":["14.5","macOS 14.5-23F79"])",
                   [](Facts& facts) { facts.softwareUpdateLabels = {"macOS 14.5-23F7"}; },
                   "applyLater(macOSSoftwareUpdateDownloadFailed)"},
    EvaluationCase{"BuildIsListedOtherwise", R"("2007":["14.5","macOS $ 14.5-23F79"])",
                   [](Facts& facts) {
                     facts.isAppleSilicon = false;
                     facts.softwareUpdateLabels = {"x", "macOS \"Sonoma\" 14.5-23F79"};
                   },
                   "would run /usr/sbin/softwareupdate --include-config-data --download \"macOS "
                   "\\$ 14.5-23F79\" --force --verbose, then /usr/sbin/softwareupdate "
                   "--include-config-data --download \"macOS \\\"Sonoma\\\" 14.5-23F79\" --force "
                   "--verbose, then /usr/sbin/softwareupdate --include-config-data --install "
                   "\"macOS \\\"Sonoma\\\" 14.5-23F79\" --force --verbose --restart"},
    EvaluationCase{"NoInstallAssistant", R"("2010":["/Applications/Install macOS Sonoma.app"])",
                   [](Facts& facts) { facts.installAssistants = {"/Applications/Other.app"}; },
                   "failure(macOSSoftwareUpdateInstallationFailed)"},
    EvaluationCase{"LacksAnArgument", R"("2007":["14.5"])", [](Facts&) {},
                   "applyLater(inSufficientArguments)"}};

INSTANTIATE_TEST_SUITE_P(Machines, EvaluatorTest, testing::ValuesIn(kCases),
                         [](const auto& row) { return row.param.name; });

TEST(EvaluatorCasesTest, CoverEveryAction) {
  for (const vexlo::KnownActionRow& action : vexlo::knownActions()) {
    EXPECT_TRUE(std::ranges::any_of(kCases, [&](const EvaluationCase& each) {
      return each.action.starts_with('"' + std::string(action.code));
    })) << action.name;
  }
}

TEST(EvaluatorMachinesTest, AnswersForTheCurrentMachine) {
  const auto group =
      std::make_shared<const vexlo::PatchActionGroup>(vexlo::PatchActionGroup::decode(
          R"({"PatchActions":{"1":{"2008":["com.example.editor"],"2010":["/x.app"]}}})",
          "actions"));
  Evaluator evaluator({"1", "2", "3"}, group);
  FactsReader reader;
  const auto left = [&](std::int64_t skipAttempts) {
    Facts facts = healthyMachine();
    facts.customization.values = PropertyList::Dictionary{{"numberOfSkipAttempts", skipAttempts}};
    evaluator.use(*reader.read(factsAsJSON(facts)).value());
    const std::int64_t remaining =
        evaluator.evaluate(vexlo::KnownAction::applicationRunningCheck).postponementsLeft;
    EXPECT_EQ(evaluator.evaluate(vexlo::KnownAction::installMacOSUpdatesUsingInstallAssistant)
                  .commands.size(),
              1U);
    return remaining;
  };
  EXPECT_EQ(left(3), 3);
  EXPECT_EQ(left(5), 5);
}

}  // namespace
}  // namespace agent_tool
