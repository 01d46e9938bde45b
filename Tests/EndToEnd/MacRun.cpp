#include "Tests/EndToEnd/MacRun.h"

#include <algorithm>
#include <boost/json.hpp>
#include <cstring>
#include <deque>
#include <filesystem>
#include <future>
#include <regex>
#include <sstream>
#include <utility>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace end_to_end {
namespace json = boost::json;
namespace {

constexpr int kCantEnter = 77;
/// Runs the tool the given number of times, then prints the remaining state of the Mac in parts.
/// Keeps a descriptor open that no program started by the tool may inherit.
constexpr const char* kScript = R"(
  exec 9< /etc/passwd
  times=$1; shift
  while [ $times -gt 0 ]; do
    "$@"; status=$?
    times=$((times - 1))
  done
  echo '--- counts'
  cat "$VEXLO_AGENT_ROOT/data/ApplicationRunningPromptData.plist" 2> /dev/null
  echo '--- set aside'
  cat "$VEXLO_AGENT_ROOT/data/ApplicationRunningPromptData.plist.damaged" 2> /dev/null
  echo; echo '--- left files'
  ls "$VEXLO_AGENT_ROOT/logs/UserLogs"
  echo '--- left applications'
  ls -l /proc/[0-9]*/exe 2> /dev/null | sed -n 's|.* -> \(.*\.app/.*\)|\1|p'
  exit $status
)";

std::string stringOf(const json::value& value) { return json::value_to<std::string>(value); }

std::string summary(const json::object& result) {
  std::string text = stringOf(result.at("code")) + " " + stringOf(result.at("result"));
  for (const char* const part : {"description", "detail"}) {
    if (const json::value& value = result.at(part); !value.is_null()) {
      text += " " + (value.is_string() ? stringOf(value) : json::serialize(value));
    }
  }
  return text;
}

/// «softwareupdate --list», with « as alice» unless root ran it, and with « in session 501» and
/// « < standard input» if they apply.
std::string describe(const json::object& call) {
  std::string text = stringOf(call.at("tool"));
  for (const json::value& value : call.at("arguments").as_array()) {
    const std::string argument = stringOf(value);
    const bool needsQuotes = argument.find_first_of(" ,") != std::string::npos || argument.empty();
    text += needsQuotes ? " \"" + argument + "\"" : " " + argument;
  }
  if (const std::string user = stringOf(call.at("user")); user != "root") {
    text += " as " + user;
  }
  for (const auto& [member, words] : {std::pair("session", " in session "), {"input", " < "}}) {
    if (const json::value& value = call.at(member); !value.is_null()) {
      text += words + stringOf(value);
    }
  }
  return text;
}

/// Whether the call inherited descriptors, or has the password in its environment.
bool inheritsTooMuch(const json::object& call) {
  const auto isMore = [](const json::value& each) {
    return each.at("number").to_number<int>() > 2;
  };
  return std::ranges::any_of(call.at("descriptors").as_array(), isMore) ||
         json::serialize(call.at("environment")).contains(kPassword);
}

/// The text with every date like «24-11-2026» replaced by DAY.
std::string withoutDays(const std::string& text) {
  static const std::regex day(R"(\d\d-\d\d-\d{4})");
  return std::regex_replace(text, day, "DAY");
}

/// From «2026-11-24T10:11:12.123Z INFO  Validators/Disk/Disk hasMinimumFreeSpace(of:):41 message».
std::optional<std::string> readLogLine(const std::string& line) {
  static const std::regex form(
      R"(\d{4}-.{18}Z (DEBUG|INFO |ERROR) ([^ ]{1,200} [^ ]{1,200}:)\d{1,5} )");
  std::smatch parts;  // without the message, which is too long for the library's recursion
  if (!std::regex_search(line, parts, form, std::regex_constants::match_continuous)) {
    return std::nullopt;
  }
  const std::string level = parts[1] == "DEBUG"   ? "debug "
                            : parts[1] == "INFO " ? "info "
                                                  : "error ";
  return withoutDays(level + parts[2].str() + " " + parts.suffix().str());
}

void readOutput(const std::string& output, Ended& ended) {
  std::string part;
  for (const std::string& line : lines(output)) {
    if (line.starts_with("--- ")) {
      part = line.substr(4);
    } else if (part == "counts") {
      ended.counts += withoutDays(line.substr(std::min(line.find_first_not_of('\t'), line.size())));
    } else if (part == "set aside") {
      ended.setAside += line;
    } else if (part == "left files") {
      ended.leftFiles.push_back(line);
    } else if (part == "left applications") {
      ended.leftApps.push_back(line);
    } else if (!line.starts_with('{')) {
      ended.unreadable.push_back(line);
    } else if (const json::object result = json::parse(line).as_object();
               result.at("event") == "progress") {
      const json::value& progress = result.at("progress");
      ended.progress.push_back(stringOf(result.at("code")) + " " + stringOf(progress.at("phase")) +
                               " " + json::serialize(progress.at("percent")));
    } else {
      ended.results.push_back(summary(result));
      ended.why.push_back(stringOf(result.at("why")));
      ended.seconds += json::value_to<double>(result.at("seconds"));
    }
  }
}

Ended outcomeOf(const MacTest& test) {
  const TemporaryDirectory directory;
  const std::string script = "exec \"$0\" \"$@\" 2>> '" + directory.file("errors") + "'";
  Texts command{"-c", script, programFolder() + "/enter", "--records", directory.file("calls")};
  for (const std::string& setting : test.settings) {
    command.insert(command.end(), {"--set", setting});
  }
  command = command +
            Texts{test.scenario,
                  "--",
                  "/bin/sh",
                  "-c",
                  kScript,
                  "sh",
                  std::to_string(test.times),
                  programFolder() + "/vexlo-patch",
                  "run",
                  "--patch",
                  "310990",
                  "--product",
                  "1201",
                  "--service-pack",
                  "2301",
                  "--json",
                  "--keep-going",
                  "--log-level",
                  "debug"} +
            test.options;
  const platform::ProcessResult run =
      platform::runProcess({.executable = "/bin/sh", .arguments = std::move(command)});
  Ended ended{.status = run.exitCode};
  readOutput(run.output, ended);
  for (const std::string& line : lines(directory.read("errors"))) {
    if (auto record = readLogLine(line)) {
      ended.log.push_back(*std::move(record));
    } else {
      (line.starts_with("vexlo-patch: ") ? ended.notices : ended.unreadable).push_back(line);
    }
  }
  for (const std::string& line : lines(directory.read("calls"))) {
    const json::object call = json::parse(line).as_object();
    ended.calls.push_back(describe(call));
    if (inheritsTooMuch(call)) {
      ended.leaks.push_back(line);
    }
  }
  return ended;
}

bool isAsExpected(const std::string& line, std::string_view expected) {
  return expected.ends_with(kAny)
             ? line.starts_with(expected.substr(0, expected.size() - std::strlen(kAny)))
             : line == expected;
}

/// The exit status of vexlo-patch for these results.
int statusOf(const Texts& results) {
  int status = 0;
  for (const std::string& result : results) {
    status = result.contains(" failure") || status == 1 ? 1
             : result.contains(" applyLater")           ? 75
                                                        : status;
  }
  return status;
}

void compare(const MacTest& test, const Ended& mac) {
  EXPECT_EQ(mac.results, test.results);
  if (!test.why.empty() && !std::ranges::equal(mac.why, test.why, isAsExpected)) {
    EXPECT_EQ(mac.why, test.why);
  }
  if (!test.results.empty()) {
    EXPECT_EQ(mac.status, statusOf(test.times == 1 ? test.results : Texts{test.results.back()}));
  }
  for (const std::string& expected : test.lines) {
    EXPECT_TRUE(std::ranges::any_of(
        mac.log, [&](const std::string& line) { return isAsExpected(line, expected); }))
        << "expected the line " << expected;
  }
  if (test.calls != kAnyCalls) {
    EXPECT_EQ(mac.calls, test.calls);
  }
  // These hold for every run.
  EXPECT_EQ(mac.unreadable, Texts());
  EXPECT_EQ(mac.leaks, Texts());
  for (const std::string& line : mac.log + mac.results + mac.notices) {
    EXPECT_FALSE(line.contains(kPassword)) << line;
  }
  if (test.check) {
    test.check(mac);
  }
  if (testing::Test::HasFailure()) {
    std::string story;
    for (const std::string& line : mac.log + mac.calls + mac.notices) {
      story += line + "\n";
    }
    ADD_FAILURE() << "status " << mac.status << " after " << mac.seconds << " s\n" << story;
  }
}

std::deque<MacTest>& knownTests() {
  static std::deque<MacTest> tests;
  return tests;
}

struct EarlyRun {
  const testing::TestInfo* test = nullptr;
  std::function<std::function<void()>()> run;
  std::future<std::function<void()>> outcome;
};

/// In the order of the tests.
std::deque<EarlyRun>& earlyRuns() {
  static std::deque<EarlyRun> runs;
  return runs;
}

/// Starts the runs of all selected tests.
class AllRunsAtOnce final : public testing::Environment {
 public:
  void SetUp() override {
    for (EarlyRun& each : earlyRuns()) {
      if (each.test->should_run() && !simulatedMacProblem()) {
        each.outcome = std::async(std::launch::async, each.run);
      }
    }
  }
  void TearDown() override { earlyRuns().clear(); }
};

class RunningTest final : public SimulatedMacTest {
 public:
  explicit RunningTest(EarlyRun& run) : run_(run) {}

 private:
  void TestBody() override { run_.outcome.get()(); }

  EarlyRun& run_;
};

}  // namespace

EarlyTest::EarlyTest(const std::string& suite, const RowName& name,
                     std::function<std::function<void()>()> run) {
  static const auto* const starter = testing::AddGlobalTestEnvironment(new AllRunsAtOnce);
  static_cast<void>(starter);
  EarlyRun& added = earlyRuns().emplace_back();
  added.run = std::move(run);
  added.test =
      testing::RegisterTest(suite.c_str(), name.text.c_str(), nullptr, nullptr,
                            name.where.file_name(), static_cast<int>(name.where.line()),
                            [&added]() -> SimulatedMacTest* { return new RunningTest(added); });
}

MacTests::MacTests(const std::string& suite, const std::vector<MacTest>& tests) {
  for (const MacTest& each : tests) {
    const MacTest& test = knownTests().emplace_back(each);
    EarlyTest(suite, test.name, [&test] {
      return [&test, mac = outcomeOf(test)] {
        const testing::ScopedTrace row(test.name.where.file_name(),
                                       static_cast<int>(test.name.where.line()), test.name.text);
        compare(test, mac);
      };
    });
  }
}

void MacTests::forEach(const std::function<void(const MacTest&)>& visit) {
  std::ranges::for_each(knownTests(), visit);
}

Texts operator+(Texts first, const Texts& more) {
  first.insert(first.end(), more.begin(), more.end());
  return first;
}

Texts lines(const std::string& text) {
  std::istringstream in(text);
  Texts all;
  for (std::string line; std::getline(in, line);) {
    all.push_back(std::move(line));
  }
  return all;
}

void SimulatedMacTest::SetUp() {
  if (const auto why = simulatedMacProblem()) {
    GTEST_SKIP() << *why;
  }
}

platform::ProcessResult ran(const std::string& program, const Texts& arguments) {
  return platform::runProcess(
      {.executable = programFolder() + "/" + program, .arguments = arguments});
}

std::string programFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

std::optional<std::string> simulatedMacProblem() {
  static const std::optional<std::string> why = []() -> std::optional<std::string> {
    const platform::ProcessResult run = ran("enter", {"healthy", "--", "true"});
    return run.exitCode == kCantEnter ? std::optional(run.output) : std::nullopt;
  }();
  return why;
}

}  // namespace end_to_end
