// Evaluates actions on recorded facts.
#include "AgentTool/Evaluation/Evaluator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Facts/Facts.h"
#include "VexloPatchDeployment/Installers/InstallerMeasurements.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool {
namespace {

struct EvaluationCase {
  std::string name;
  std::string action;  ///< Code and arguments, as in the action file.
  std::string facts;   ///< Replace those of a machine on which everything passes.
  std::string answer;  ///< With the next step or the reason.
};

/// The facts of a machine on which everything passes, except those in `replaced`.
std::string machine(const std::string& replaced) {
  return R"({"version":1,"promptDay":"24-11-2026","appleSilicon":true,"macOSMajorVersion":14,)"
         R"("powerSource":{"kind":"battery","percentage":82},"freeDiskSpace":64000000000,)"
         R"("consoleUser":"alice","consoleUserID":501,"loggedOnUsers":"alice",)"
         R"("mdmEnrollment":"user_approved","patchData":{"values":{"ApplicationRunningPrompt":true}},)"
         R"("applications":{"com.example.mail":[],"com.example.editor":[{"name":"Editor","pid":7,)"
         R"("executable":"/Editor.app/Contents/MacOS/editor"}]})" +
         (replaced.empty() ? "" : ',' + replaced) + '}';
}

/// The customization, and the editor's prompt counts for the patch: in total, and today.
std::string prompted(const std::string& customization, int total, int today) {
  return LogCore::text(R"("customization":{"values":{)", customization,
                       R"(}},"promptCounts":{"values":{"com.example.editor":{"patchID":"1",)",
                       R"("promptShownCount":)", total, R"(,"24-11-2026":)", today, "}}}");
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

TEST(KnownMeasurementsTest, ListTheMembersOfInstallations) {  // the others are measured below
  expectDocumented(vexlo::ToolRunMeasurement());
  expectDocumented(vexlo::UpdateNotListed());
}

class EvaluatorTest : public testing::TestWithParam<EvaluationCase> {
 protected:
  LogCore::ScopedLogSink quiet{std::make_shared<LogCore::NullSink>()};
};

TEST_P(EvaluatorTest, PredictsTheLibrarysResult) {
  const auto& [name, action, facts, answer] = GetParam();
  const auto group = std::make_shared<const vexlo::PatchActionGroup>(
      vexlo::PatchActionGroup::decode(R"({"PatchActions":{"1":{)" + action + "}}}", "actions"));
  Evaluator evaluator({"1", "2", "3"}, group);
  FactsReader reader;
  evaluator.use(*reader.read(machine(facts)).value());
  const Evaluation& evaluation = evaluator.evaluate(vexlo::ActionID(action.substr(1, 4)));
  std::ranges::for_each(evaluation.measurements, expectDocumented);
  EXPECT_EQ(evaluation.result ? describe(*evaluation.result) : evaluation.next, answer);
}

constexpr const char* kMailOrEditor = R"("2008":["com.example.mail","com.example.editor"])";
constexpr const char* kEditor = R"("2008":["com.example.editor"])";

const std::vector<EvaluationCase> kCases{
    {"EnoughBattery", R"("2001":["82"])", "", "success"},
    {"LowBattery", R"("2001":["83"])", "", "applyLater(inSufficientBattery)"},
    {"OtherProcessor", R"("2001":["83"])", R"("appleSilicon":false)", "success"},
    {"OtherProcessorThanIntel", R"("2002":["83"])", "", "success"},
    {"UnreadableBattery", R"("2001":["83"])", R"("powerSource":null)", "success"},
    {"FullDisk", R"("2005":["65"])", "", "applyLater(inSufficientDiskSpaceForSoftwareUpdate)"},
    {"NobodyAtTheConsole", R"("2003":[])", R"("consoleUser":"NOUSERNAME")",
     "applyLater(userNotLoggedIn)"},
    {"TwoUsers", R"("2004":[])", R"("loggedOnUsers":"alice,bob")",
     "applyLater(multipleUsersLoggedIn)"},
    {"AppleNotAsked", R"("2006":["14.5"])", "", "not asked: softwareupdate --list"},
    {"NotEnrolled", R"("2006":["14.5"])", R"("mdmEnrollment":null)", "success"},
    {"AppleUnreachable", R"("2006":["14.5"])", R"("softwareUpdateReachable":false)",
     "applyLater(softwareUpdateUnreachable)"},
    {"MDMClientFailed", R"("2006":["14.5"])", R"("softwareUpdateReachable":true)",
     "applyLater(softwareUpdateUnreachable)"},
    // An hour before the day begins in a western time zone.
    {"DeferredWhereTheMachineIs", R"("2006":["14.5"])",
     R"("time":"2026-11-25T07:00:00Z","utcOffset":-28800,"softwareUpdateReachable":true,)"
     R"("availableOSUpdates":[{"deferredUntil":"2026-11-25 00:00:00 +0000","productKey":"key",)"
     R"("version":"14.5"}])",
     "applyLater(macOSUpdateIsDeferred(Optional(\"2026-Nov-25\")))"},
    {"Notifier", R"("2009":[])", "", "success"},
    {"NothingRuns", R"("2008":["com.example.mail"])", "", "success"},
    {"RunsPerhaps", R"("2008":["com.example.other"])", "",
     "not asked: whether com.example.other runs"},
    {"DoesNotRun", R"("2008":["com.example.other"])", R"("allApplications":true)", "success"},
    {"Killed", kMailOrEditor, R"("patchData":{"values":{"AlwaysKillApps":true}})",
     "would kill Editor"},
    {"NoPrompt", kMailOrEditor, R"("patchData":{"values":{}})", "applyLater(appIsRunning)"},
    {"Asked", kMailOrEditor, "", "would ask"},
    {"AskedWithPostponements", kEditor, prompted(R"("numberOfSkipAttempts":3)", 1, 1),
     "would ask: 2 postponements left"},
    {"Forced", kEditor, prompted(R"("numberOfSkipAttempts":3)", 3, 1), "would force"},
    {"AskedOftenToday", kEditor, prompted(R"("dailyPromptLimit":1)", 1, 1),
     "applyLater(appIsRunning)"},
    {"InstallsOnIntel", R"("2007":["12.7.5","macOS $x-21H1222"])",
     R"("appleSilicon":false,"macOSMajorVersion":12)",
     "would run launchctl asuser 501 sudo /usr/sbin/softwareupdate --include-config-data "
     "--download \"macOS \\$x-21H1222\" --force --verbose, then launchctl asuser 501 sudo "
     "/usr/sbin/softwareupdate --include-config-data --install \"macOS \\$x-21H1222\" --force "
     "--verbose --restart"},
    {"InstallsWithAPasswordArgument", R"("2007":["12.7.5","x"])",
     R"("consoleUserID":null,"macOSMajorVersion":12)",
     "would run launchctl asuser  sudo /usr/sbin/softwareupdate --include-config-data --download "
     "\"x\" --force --verbose --user \"<user>\" --stdinpass \"<password>\", then launchctl asuser  "
     "sudo /usr/sbin/softwareupdate --include-config-data --install \"x\" --force --verbose "
     "--restart --user \"<user>\" --stdinpass \"<password>\""},
    {"Upgrades", R"("2010":["/Applications/Install macOS.app"])", "",
     "would run \"/Applications/Install macOS.app/Contents/Resources/startosinstall\" "
     "--agreetolicense --forcequitapps --nointeraction --user \"<user>\" --stdinpass"},
    {"AgentDoesNotAnswer", R"("2007":["14.5","x"])", R"("agent":{"serviceAnswers":false})",
     "applyLater(unableToGetAgentServiceConnection)"},
    {"IntelNeedsNoAgent", R"("2010":["/x.app"])",
     R"("appleSilicon":false,"agent":{"serviceAnswers":false})",
     "would run \"/x.app/Contents/Resources/startosinstall\" --agreetolicense --forcequitapps "
     "--nointeraction"},
    {"NoCredentials", R"("2007":["14.5","x"])", R"("agent":{"credentialsStored":false})",
     "applyLater(credentialsNotEntered)"},
    {"LabelIsNotListed", R"("2007":["14.5","macOS 14.5-23F79"])",
     R"("softwareUpdateLabels":["macOS 14.5-23F7"])",
     "applyLater(macOSSoftwareUpdateDownloadFailed)"},
    {"BuildIsListedOtherwise", R"("2007":["14.5","macOS $ 14.5-23F79"])",
     R"("appleSilicon":false,"softwareUpdateLabels":["x","macOS \"Sonoma\" 14.5-23F79"])",
     "would run /usr/sbin/softwareupdate --include-config-data --download \"macOS \\$ 14.5-23F79\" "
     "--force --verbose, then /usr/sbin/softwareupdate --include-config-data --download \"macOS "
     "\\\"Sonoma\\\" 14.5-23F79\" --force --verbose, then /usr/sbin/softwareupdate "
     "--include-config-data --install \"macOS \\\"Sonoma\\\" 14.5-23F79\" --force --verbose "
     "--restart"},
    {"NoInstallAssistant", R"("2010":["/Applications/Install macOS Sonoma.app"])",
     R"("installAssistants":["/Applications/Other.app"])",
     "failure(macOSSoftwareUpdateInstallationFailed)"},
    {"LacksAnArgument", R"("2007":["14.5"])", "", "applyLater(inSufficientArguments)"}};

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
    const std::string facts =
        machine(prompted(LogCore::text(R"("numberOfSkipAttempts":)", skipAttempts), 0, 0));
    evaluator.use(*reader.read(facts).value());
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
