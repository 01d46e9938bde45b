// `vexlo-patch evaluate` in every simulated Mac, and on that Mac's facts outside.
#include <gmock/gmock.h>

#include <boost/json.hpp>
#include <fstream>
#include <future>
#include <map>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Tests/EndToEnd/MacRun.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace end_to_end {
namespace {

using testing::HasSubstr;
using testing::Not;
using EvaluateTest = SimulatedMacTest;
using FactsSchemaTest = SimulatedMacTest;

/// Prints the evaluation, what changed during it, and the facts for evaluating elsewhere. $0: the
/// tool, $1: further options of both commands. The stand-ins' call counters are created first. Only
/// shell built-ins run while processes are listed. A sanitizer's runtime uses /private/tmp at its
/// start, so that the time of this directory, not what is in it, is left out.
constexpr const char* kEvaluation = R"sh(
  files() {
    find /Applications /Library /System /Users /private /etc/passwd -xdev ! -path /private/tmp \
      -printf '%p %i %m %s %T@ %C@\n' | sort
  }
  profiles status -type enrollment > /dev/null
  [ -z "$1" ] || { softwareupdate --list; /usr/libexec/mdmclient AvailableOSUpdates; } > /dev/null 2>&1
  filesBefore=$(files)
  set -- "$1" /proc/[0-9]*; processesBefore=$*
  echo '--- answers'
  "$0" evaluate --patch 310990 --product 1201 --service-pack 2301 $1 --json
  echo "--- status $?"
  set -- "$1" /proc/[0-9]*; processesAfter=$*
  [ "$processesBefore" = "$processesAfter" ] ||
    echo "CHANGED processes: $processesBefore / $processesAfter"
  [ "$filesBefore" = "$(files)" ] || echo 'CHANGED files'
  echo '--- facts'
  "$0" facts --json $1 --all-applications
  echo '--- actions'
  cat "$VEXLO_AGENT_ROOT/client-data/patch-resources/mac-patch-actions.json"
)sh";

/// By path, since a Mac's PATH would find an installed one first.
std::string tool() { return programFolder() + "/vexlo-patch"; }

Texts scenarios() {
  Texts all = lines(ran("enter", {"--list"}).output);
  for (std::string& line : all) {
    line.resize(line.find(' '));
  }
  return all;
}

/// The text after «--- part», up to the next part.
std::string part(const std::string& text, const std::string& name) {
  const std::size_t heading = text.find("--- " + name);
  if (heading == std::string::npos) {
    return "no part " + name + " in " + text;
  }
  const std::size_t begin = text.find('\n', heading) + 1;
  return text.substr(begin, text.find("--- ", begin) - begin);
}

/// The output and the effects of an evaluation.
struct Evaluated {
  std::string whole;
  std::string answers;
  std::string elsewhere;  ///< The answers from the facts, outside the Mac.
  std::string calls;      ///< Calls of the Mac's tools.
};

Evaluated evaluated(const std::string& scenario, const std::string& options) {
  const TemporaryDirectory directory;
  Evaluated evaluated;
  evaluated.whole = ran("enter", {"--records", directory.file("calls"), scenario, "--", "/bin/sh",
                                  "-c", kEvaluation, tool(), options})
                        .output;
  evaluated.answers = part(evaluated.whole, "answers");
  evaluated.calls = directory.read("calls");
  directory.write("client-data/patch-resources/mac-patch-actions.json",
                  part(evaluated.whole, "actions"));
  evaluated.elsewhere =
      ran("vexlo-patch", {"evaluate", "--base-dir", directory.path(), "--patch", "310990",
                          "--product", "1201", "--service-pack", "2301", "--json", "--facts",
                          directory.write("facts.json", part(evaluated.whole, "facts"))})
          .output;
  return evaluated;
}

TEST_F(EvaluateTest, ChangesNothingAndGivesTheSameAnswersFromFacts) {
  const std::map<std::string, std::string> expected{
      {"deferred", R"("answer":"notAsked")"},
      {"disk-full", R"("answer":"applyLater","description":"inSufficientDiskSpace)"},
      {"intel-monterey", R"("commands":["launchctl asuser 501 sudo /usr/sbin/softwareupdate )"},
      {"last-attempt", R"("next":"would force")"},
      {"low-battery", R"("description":"inSufficientBattery")"},
      {"no-agent-service", R"("description":"unableToGetAgentServiceConnection")"},
      {"nobody-at-the-console", R"("description":"userNotLoggedIn")"},
      {"patch-day", R"("next":"would ask: 3 postponements left")"},
      {"two-users", R"("description":"multipleUsersLoggedIn")"},
      {"upgrade", R"(Install macOS Sonoma.app/Contents/Resources/startosinstall\")"}};
  std::size_t asExpected = 0;
  for (const std::string& scenario : scenarios()) {
    SCOPED_TRACE(scenario);
    const Evaluated mac = evaluated(scenario, "");
    EXPECT_THAT(mac.answers, HasSubstr(R"("answer":)"));
    EXPECT_THAT(mac.whole, Not(HasSubstr("CHANGED")));
    EXPECT_THAT(mac.whole, Not(HasSubstr("vexlo-patch: "))) << "a notification, or an error";
    EXPECT_THAT(mac.whole, Not(HasSubstr(kPassword)));
    for (const std::string& call : lines(mac.calls)) {
      EXPECT_THAT(call, HasSubstr(R"("tool":"profiles")"));
    }
    EXPECT_EQ(mac.answers, mac.elsewhere);
    if (const auto wanted = expected.find(scenario); wanted != expected.end()) {
      EXPECT_THAT(mac.answers, HasSubstr(wanted->second));
      ++asExpected;
    }
  }
  EXPECT_EQ(asExpected, expected.size());
}

/// Whether the result may follow a prediction that isn't a result itself.
bool mayFollow(std::string_view prediction, const boost::json::object& result) {
  const std::string measured = boost::json::serialize(result.at("measured"));
  return prediction == "wouldRun"    ? measured.contains("toolRun")
         : prediction == "wouldKill" ? result.at("result") == "success"
                                     : prediction != "notAsked" && measured.contains("\"prompt\"");
}

/// Expects that the first line, an evaluation, predicts the results in the others.
void expectPredicted(const Texts& output) {
  const boost::json::value evaluation = boost::json::parse(output.at(0));
  std::span<const boost::json::value> answers = evaluation.at("actions").as_array();
  for (const std::string& line : output | std::views::drop(1)) {
    const boost::json::object row = boost::json::parse(line).as_object();
    if (row.at("event") != "result") {
      continue;
    }
    ASSERT_FALSE(answers.empty());
    const boost::json::value& answer = answers.front();
    const std::string prediction(answer.at("answer").as_string());
    EXPECT_EQ(answer.at("code"), row.at("code"));
    EXPECT_TRUE(prediction == row.at("result").as_string()
                    ? answer.at("description") == row.at("description")
                    : mayFollow(prediction, row))
        << answer << row;
    answers = answers.subspan(1);
  }
  EXPECT_TRUE(answers.empty());
}

const EarlyTest kPrediction("EvaluateTest", "PredictsWhatRunDoes", [] {
  // What no scenario has, and every scenario.
  std::vector<Texts> macs{{"--set", "agent service/state=absent", "upgrade"},
                          {"--set", "agent service/value=PatchOSUpdateUserName alice", "upgrade"},
                          {"--set", "actions/2010=/Applications/Missing.app", "upgrade"},
                          {"--set", "actions/2007=14.6 \"macOS Sonoma 14.6-23G80\"", "--set",
                           "mac/machine=intel", "upgrade"}};
  for (const std::string& scenario : scenarios()) {
    macs.push_back({scenario});
  }
  std::vector<std::future<platform::ProcessResult>> runs;
  runs.reserve(macs.size());
  for (const Texts& mac : macs) {
    runs.push_back(std::async(std::launch::async, ran, "enter",
                              mac + Texts{"--", "/bin/sh", "-c", R"sh(
      exec 2>/dev/null
      patch="--patch 310990 --product 1201 --service-pack 2301"
      "$0" evaluate $patch --ask-apple --ask-agent --json
      "$0" run $patch --json --keep-going --log-level none
    )sh",
                                          tool()}));
  }
  Texts outputs;
  outputs.reserve(runs.size());
  for (auto& run : runs) {
    outputs.push_back(run.get().output);
  }
  return [outputs] {
    for (const std::string& output : outputs) {
      SCOPED_TRACE(output);
      expectPredicted(lines(output));
    }
  };
});

TEST_F(EvaluateTest, AsksAppleOnlyIfAllowed) {
  for (const auto& [name, answer] : std::vector<std::pair<std::string, std::string>>{
           {"deferred", R"("description":"macOSUpdateIsDeferred")"},
           {"macos-27", R"("why":"mdmclient printed no list of updates, counts as not deferred")"},
           {"healthy", R"("code":"2006","arguments":["14.5"],"answer":"success")"},
           {"second-try", R"(--install \"macOS Sonoma 14.5-23F79\")"},
           {"offline", R"("description":"softwareUpdateUnreachable")"}}) {
    SCOPED_TRACE(name);
    const Evaluated mac = evaluated(name, "--ask-apple");
    EXPECT_THAT(mac.answers, HasSubstr(answer));
    EXPECT_EQ(mac.answers, mac.elsewhere);
    EXPECT_THAT(mac.whole, Not(HasSubstr("CHANGED")));
    EXPECT_EQ(mac.whole.contains(R"("availableOSUpdates":"mdmclient printed no list of updates")"),
              name == "macos-27");
  }
}

TEST_F(EvaluateTest, AsksTheAgentOnlyIfAllowed) {
  for (const auto& [options, answer] : std::vector<std::pair<Texts, std::string>>{
           {{}, R"(--user \"alice\" --stdinpass)"},
           {{"--set", "mac/version=12.6"}, R"(--stdinpass \"<password>\")"},
           {{"--set", "agent service/value=PatchOSUpdateUserName alice"},
            R"("description":"credentialsNotEntered")"},
           {{"--set", "agent service/state=absent"},
            R"("description":"unableToGetAgentServiceConnection")"}}) {
    const std::string answers =
        ran("enter",
            Texts{"--set", "agent service/state=answers"} + options +
                Texts{"no-agent-service", "--", tool(), "evaluate", "--patch", "310990",
                      "--product", "1201", "--service-pack", "2301", "--ask-agent", "--json"})
            .output;
    EXPECT_THAT(answers, HasSubstr(answer));
    EXPECT_THAT(answers, Not(HasSubstr(kPassword)));
  }
}

TEST_F(FactsSchemaTest, DescribesTheFactsOfRealAndSyntheticMachines) {
  std::ifstream file(VEXLO_DOCUMENTS "/facts.schema.json");
  const std::string text(std::istreambuf_iterator<char>(file), {});
  const auto described = boost::json::parse(text).at("properties").as_object();
  const auto written =
      boost::json::parse(ran("enter", {"patch-day", "--", tool(), "facts", "--json"}).output);
  for (const auto& [name, value] : written.as_object()) {
    EXPECT_TRUE(described.contains(name)) << name;
  }
  EXPECT_EQ(written.as_object().size() + 1, described.size()) << "all but the name";
  const auto synthetic = boost::json::parse(ran("make-fleet", {"1"}).output);
  for (const auto& [name, value] : synthetic.as_object()) {
    EXPECT_TRUE(described.contains(name)) << "make-fleet's " << name;
  }
}

}  // namespace
}  // namespace end_to_end
