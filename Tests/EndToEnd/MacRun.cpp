#include "Tests/EndToEnd/MacRun.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/json.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace end_to_end {
namespace json = boost::json;
namespace {

constexpr int kCantEnter = 77;
/// Runs the tool as often as asked and then shows what is left in the Mac, part by part. It holds
/// a descriptor open that no program which the tool starts may get.
constexpr const char* kScript = R"(
  exec 9< /etc/passwd
  times=$1; shift
  while [ $times -gt 0 ]; do
    "$@"; status=$?
    times=$((times - 1))
  done
  echo '--- prompt data'
  cat "$VEXLO_AGENT_ROOT/data/ApplicationRunningPromptData.plist" 2> /dev/null
  echo '--- left files'
  ls "$VEXLO_AGENT_ROOT/logs/UserLogs"
  echo '--- left applications'
  ls -l /proc/[0-9]*/exe 2> /dev/null | sed -n 's|.* -> \(.*\.app/.*\)|\1|p'
  exit $status
)";

std::string stringOf(const json::value& value) { return json::value_to<std::string>(value); }

std::optional<std::string> optionalOf(const json::value& value) {
  return value.is_null() ? std::nullopt : std::optional(stringOf(value));
}

std::string summary(const json::object& result) {
  std::string text = stringOf(result.at("code")) + " " + stringOf(result.at("result"));
  if (const auto description = optionalOf(result.at("description"))) {
    text += " " + *description;
  }
  const json::value& detail = result.at("detail");
  if (detail.is_string()) {
    text += " " + stringOf(detail);
  } else if (detail.is_object()) {
    text += " " + json::serialize(detail);
  }
  return text;
}

Call readCall(const std::string& line) {
  const json::object record = json::parse(line).as_object();
  Call call{.tool = stringOf(record.at("tool")),
            .arguments = json::value_to<std::vector<std::string>>(record.at("arguments")),
            .input = optionalOf(record.at("input")),
            .user = stringOf(record.at("user")),
            .session = optionalOf(record.at("session")),
            .environment = json::value_to<std::vector<std::string>>(record.at("environment")),
            .descriptors = {}};
  for (const json::value& descriptor : record.at("descriptors").as_array()) {
    call.descriptors.push_back(json::value_to<int>(descriptor.at("number")));
  }
  return call;
}

/// «2026-11-24T10:11:12.123Z INFO  Validators/Disk/Disk hasMinimumFreeSpace(of:):41 message»
std::optional<LogRecord> readLogLine(const std::string& line) {
  std::istringstream fields(line);
  std::string moment;
  std::string level;
  std::string origin;
  LogRecord record;
  fields >> moment >> level >> record.file >> origin;
  const std::size_t colon = origin.rfind(':');
  const std::array<std::string_view, 3> levels{"DEBUG", "INFO", "ERROR"};
  const auto* const found = std::ranges::find(levels, level);
  if (!fields || !moment.ends_with('Z') || found == levels.end() || colon == std::string::npos) {
    return std::nullopt;
  }
  record.level = static_cast<LogCore::LogLevel>(found - levels.begin());
  record.function = origin.substr(0, colon);
  record.line = static_cast<std::uint32_t>(std::stoul(origin.substr(colon + 1)));
  fields.get();
  std::getline(fields, record.message);
  return record;
}

std::vector<std::string> lines(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> all;
  for (std::string line; std::getline(in, line);) {
    all.push_back(std::move(line));
  }
  return all;
}

/// A run that has been started, with a directory of its own for what it prints.
class StartedRun {
 public:
  explicit StartedRun(const MacRun& run) {
    std::vector<std::string> command{programFolder() + "/enter", "--records",
                                     directory_.file("calls")};
    for (const std::string& setting : run.settings) {
      command.insert(command.end(), {"--set", setting});
    }
    command.insert(command.end(), {run.scenario,
                                   "--",
                                   "/bin/sh",
                                   "-c",
                                   kScript,
                                   "sh",
                                   std::to_string(run.times),
                                   programFolder() + "/vexlo-patch",
                                   "run",
                                   "--patch",
                                   "310990",
                                   "--product",
                                   "1201",
                                   "--service-pack",
                                   "2301",
                                   "--machine",
                                   run.machine,
                                   "--json",
                                   "--keep-going",
                                   "--log-level",
                                   "debug"});
    command.insert(command.end(), run.options.begin(), run.options.end());
    start(command);
  }
  StartedRun(const StartedRun&) = delete;
  StartedRun& operator=(const StartedRun&) = delete;
  ~StartedRun() {
    if (process_ > 0) {
      kill(process_, SIGTERM);
      waitpid(process_, nullptr, 0);
    }
  }

  Ended wait() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
    Ended ended;
    ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    readOutput(ended);
    for (const std::string& line : lines(directory_.read("errors"))) {
      if (auto record = readLogLine(line)) {
        ended.log.push_back(*std::move(record));
      } else if (line.starts_with("vexlo-patch: ")) {
        ended.notices.push_back(line);
      } else {
        ended.unreadable.push_back(line);
      }
    }
    for (const std::string& line : lines(directory_.read("calls"))) {
      ended.calls.push_back(readCall(line));
    }
    return ended;
  }

 private:
  void start(std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (std::string& argument : command) {
      arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, directory_.file("output").c_str(),
                                     O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, directory_.file("errors").c_str(),
                                     O_WRONLY | O_CREAT, 0600);
    const int error =
        posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
      throw std::runtime_error(command[0] + ": " + std::strerror(error));
    }
  }

  void readOutput(Ended& ended) const {
    std::string part;
    for (const std::string& line : lines(directory_.read("output"))) {
      if (line.starts_with("--- ")) {
        part = line.substr(4);
      } else if (part == "prompt data") {
        ended.promptData += line + "\n";
      } else if (part == "left files") {
        ended.leftFiles.push_back(line);
      } else if (part == "left applications") {
        ended.leftApps.push_back(line);
      } else if (line.starts_with('{')) {
        const json::object result = json::parse(line).as_object();
        ended.results.push_back(summary(result));
        ended.seconds += json::value_to<double>(result.at("seconds"));
      } else {
        ended.unreadable.push_back(line);
      }
    }
  }

  TemporaryDirectory directory_;
  pid_t process_ = 0;
};

/// The runs by the full names of their tests.
std::map<std::string, MacRun>& knownRuns() {
  static std::map<std::string, MacRun> runs;
  return runs;
}

std::map<std::string, std::unique_ptr<StartedRun>>& startedRuns() {
  static std::map<std::string, std::unique_ptr<StartedRun>> runs;
  return runs;
}

/// Starts the run of every test that is to run, longest first as far as that is known: those that
/// wait don't need the processor.
class AllRunsAtOnce final : public testing::Environment {
 public:
  void SetUp() override {
    if (whyNoMac()) {
      return;
    }
    const testing::UnitTest& program = *testing::UnitTest::GetInstance();
    for (int suite = 0; suite < program.total_test_suite_count(); ++suite) {
      const testing::TestSuite& tests = *program.GetTestSuite(suite);
      for (int test = 0; test < tests.total_test_count(); ++test) {
        const testing::TestInfo& info = *tests.GetTestInfo(test);
        const std::string name = std::string(tests.name()) + "." + info.name();
        const auto run = knownRuns().find(name);
        if (info.should_run() && run != knownRuns().end()) {
          startedRuns().emplace(name, std::make_unique<StartedRun>(run->second));
        }
      }
    }
  }
  void TearDown() override { startedRuns().clear(); }
};

class MacTest : public testing::Test {
 public:
  MacTest(std::string name, std::function<void(const Ended&)> check)
      : name_(std::move(name)), check_(std::move(check)) {}

 private:
  void TestBody() override {
    if (const auto why = whyNoMac()) {
      GTEST_SKIP() << *why;
    }
    const Ended ended = startedRuns().at(name_)->wait();
    check_(ended);
    expectNoLeak(ended);
    if (HasFailure()) {
      std::ostringstream story;
      for (const LogRecord& line : ended.log) {
        story << line << "\n";
      }
      for (const Call& call : ended.calls) {
        story << call << "\n";
      }
      ADD_FAILURE() << "status " << ended.status << " after " << ended.seconds
                    << " s, results: " << testing::PrintToString(ended.results)
                    << ", notices: " << testing::PrintToString(ended.notices) << "\n"
                    << story.str();
    }
  }

  /// What holds for every run, whatever its test is about.
  static void expectNoLeak(const Ended& ended) {
    EXPECT_EQ(ended.unreadable, std::vector<std::string>());
    for (const LogRecord& line : ended.log) {
      EXPECT_FALSE(line.message.contains(kPassword)) << line;
    }
    for (const std::string& result : ended.results) {
      EXPECT_FALSE(result.contains(kPassword)) << result;
    }
    for (const Call& call : ended.calls) {
      EXPECT_TRUE(std::ranges::all_of(call.descriptors, [](int number) { return number <= 2; }))
          << commandLine(call) << " got " << testing::PrintToString(call.descriptors);
      for (const std::string& variable : call.environment) {
        EXPECT_FALSE(variable.contains(kPassword)) << commandLine(call) << ": " << variable;
      }
    }
  }

  std::string name_;
  std::function<void(const Ended&)> check_;
};

}  // namespace

std::string commandLine(const Call& call) {
  std::string text = call.tool;
  for (const std::string& argument : call.arguments) {
    const bool needsQuotes = argument.find_first_of(" ,") != std::string::npos || argument.empty();
    text += needsQuotes ? " \"" + argument + "\"" : " " + argument;
  }
  return text;
}

std::ostream& operator<<(std::ostream& out, const Call& call) {
  out << commandLine(call) << " (user " << call.user << ", session "
      << call.session.value_or("none");
  return out << ", input " << (call.input ? "\"" + *call.input + "\"" : "none") << ")";
}

std::vector<Call> Ended::callsOf(std::string_view tool) const {
  std::vector<Call> found;
  std::ranges::copy_if(calls, std::back_inserter(found),
                       [&](const Call& call) { return call.tool == tool; });
  return found;
}

std::vector<std::string> Ended::messages() const {
  std::vector<std::string> all;
  all.reserve(log.size());
  for (const LogRecord& line : log) {
    all.push_back(line.message);
  }
  return all;
}

void addMacTest(const char* suite, const std::string& name, MacRun run,
                std::function<void(const Ended&)> check) {
  static const bool ready = [] {
    testing::AddGlobalTestEnvironment(new AllRunsAtOnce);
    return true;
  }();
  static_cast<void>(ready);
  const std::string fullName = std::string(suite) + "." + name;
  if (!knownRuns().emplace(fullName, std::move(run)).second) {
    throw std::logic_error("two tests are called " + fullName);
  }
  testing::RegisterTest(
      suite, name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
      [fullName, check = std::move(check)]() -> MacTest* { return new MacTest(fullName, check); });
}

std::string programFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

std::optional<std::string> whyNoMac() {
  static const std::optional<std::string> why = []() -> std::optional<std::string> {
    const TemporaryDirectory directory;
    const std::string command =
        "'" + programFolder() + "/enter' healthy -- true 2> " + directory.file("why");
    const int status = std::system(command.c_str());
    return WIFEXITED(status) && WEXITSTATUS(status) == kCantEnter
               ? std::optional(directory.read("why"))
               : std::nullopt;
  }();
  return why;
}

}  // namespace end_to_end
