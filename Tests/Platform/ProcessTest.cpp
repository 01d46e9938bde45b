#include "Platform/Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "Platform/RunningProcesses.h"
#include "Tests/Fakes/DirectoryEntries.h"
#include "Tests/Fakes/ScopedEnvironment.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using std::chrono::milliseconds;

ProcessRequest shell(const std::string& command) {
  return {.executable = "/bin/sh", .arguments = {"-c", command}};
}

/// Runs the request with a deadline that is long enough for the child's first output, even on a
/// busy machine.
ProcessResult runIntoDeadline(ProcessRequest request) {
  for (request.timeout = milliseconds(100);; *request.timeout *= 2) {
    ProcessResult result = runProcess(request);
    EXPECT_TRUE(result.timedOut);
    if (!result.output.empty()) {
      return result;
    }
  }
}

/// Checks that tests leak no descriptors or children.
class ProcessTest : public ::testing::Test {
 protected:
  ~ProcessTest() override {
    EXPECT_EQ(entriesOf("/dev/fd"), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
  }
  const std::ptrdiff_t before = entriesOf("/dev/fd");
};

TEST_F(ProcessTest, StartsAsAShellWouldEvenThroughOne) {
  constexpr std::errc kMissing = std::errc::no_such_file_or_directory;
  constexpr std::errc kDenied = std::errc::permission_denied;
  const std::vector<std::tuple<ProcessRequest, std::int32_t, std::errc, std::string>> rows{
      {{.executable = "/no/such/program"}, 127, kMissing, "/no/such/program"},
      {{.executable = "/etc/passwd"}, 126, kDenied, "/etc/passwd"},
      {{.executable = "/usr/bin"}, 126, kDenied, "/usr/bin"},
      {{.executable = "/bin/true", .directory = "/no/such"}, 127, kMissing, "/no/such"},
      {{.executable = "true", .directory = "/"}, 127, kMissing, "true"},
      {{.executable = "true", .directory = "/usr/bin"}, 0, {}, ""},
      {{.executable = "bin/true", .directory = "/usr"}, 0, {}, ""},
      {shell(std::string("exit 0;\0exit 1", 14)), 127, std::errc::invalid_argument, "/bin/sh"}};
  for (const bool throughShell : {false, true}) {
    const auto former = std::signal(SIGCHLD, throughShell ? SIG_IGN : SIG_DFL);
    for (const auto& [request, exitCode, startError, unusable] : rows) {
      SCOPED_TRACE(request.executable);
      const ProcessResult result = runProcess(request);
      EXPECT_EQ(result.exitCode, exitCode);
      EXPECT_EQ(result.startError, std::make_error_condition(startError));
      EXPECT_EQ(result.unusablePath, unusable);
    }
    std::signal(SIGCHLD, former);
  }
}

TEST_F(ProcessTest, LargeInputMayBeReadInPiecesOrNotAtAll) {
  const std::string input(1'000'000, 'x');
  ProcessRequest request = shell("cat");
  request.input = input;
  EXPECT_TRUE(runProcess(request).output == input);
  request.arguments[1] = "exec <&-; echo closed";
  EXPECT_EQ(runProcess(request).output, "closed\n");
}

TEST_F(ProcessTest, ChildStartsInACleanSession) {
  if (!std::filesystem::exists("/proc/self/stat")) {
    GTEST_SKIP() << "needs the session in /proc";
  }
  const auto former = std::signal(SIGUSR2, SIG_IGN);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  const int inherited = ::fcntl(STDERR_FILENO, F_DUPFD, 77);  // without close-on-exec
  ProcessRequest request = shell(
      "pwd; read -r id name state parent group session rest < /proc/$$/stat\n"
      "[ $group = $$ ] && [ $session = $$ ] && echo own session\n"
      "[ -e /proc/$$/fd/" +
      std::to_string(inherited) +
      " ] || echo closed\n"
      "sed -n 's/^Sig\\(Blk\\|Ign\\):.*\\(.\\{7\\}\\)$/\\2/p' /proc/self/status");
  request.directory = "/usr";
  EXPECT_EQ(runProcess(request).output, "/usr\nown session\nclosed\n0000000\n0000000\n");
  ::close(inherited);
  ::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
  std::signal(SIGUSR2, former);
}

TEST_F(ProcessTest, EnvironmentIsBuiltFromScratch) {
  const ScopedEnvironment path("PATH", "/tmp/evil:/usr/bin");
  const ScopedEnvironment function("BASH_FUNC_cat%%", "() { echo evil; }");
  const ScopedEnvironment home("HOME", "/tmp/evil");
  const ScopedEnvironment language("LANG", "de_CH.UTF-8");
  const ScopedEnvironment all("LC_ALL", "../../tmp/evil");
  const std::string variables = "\n" + runProcess({.executable = "/usr/bin/env"}).output;
  EXPECT_FALSE(variables.contains("evil")) << variables;
  for (const char* name : {"\nPATH=", "\nTMPDIR=", "\nHOME=", "\nUSER=", "\nLOGNAME=", "\nLANG="}) {
    EXPECT_TRUE(variables.contains(name)) << name << variables;
  }
  EXPECT_EQ(std::ranges::count(variables, '\n'), 1 + 6) << variables;
}

TEST_F(ProcessTest, ReportsTheStatusDespiteIgnoredSIGCHLD) {
  const auto former = std::signal(SIGCHLD, SIG_IGN);
  ProcessRequest request = shell("cat; cd /dev/fd && echo *; exit 3");
  request.input = "input\n";
  ProcessResult result = runProcess(request);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.output, "input\n0 1 2 3\n") << "3 is the folder itself";
  result = runProcess(shell("kill -KILL $$"));
  EXPECT_EQ(result.exitCode, 128 + SIGKILL);
  EXPECT_EQ(result.output, "") << "the shell's own message";
  EXPECT_EQ(runIntoDeadline(shell("echo started; sleep 60")).exitCode, 128 + SIGTERM);
  std::signal(SIGCHLD, former);
}

TEST_F(ProcessTest, LosesAtMostOneStatusToOtherWaiters) {
  ProcessRequest request = shell("echo ready; exit 3");
  request.onLine = [](std::string_view) { ::waitpid(-1, nullptr, 0); };
  const auto runTwice = [&] {  // in a child process, because the loss changes this process's state
    const std::int32_t first = runProcess(request).exitCode;
    std::_Exit(first == ProcessResult::kUnknownStatus ? runProcess(request).exitCode : 1);
  };
  EXPECT_EXIT(runTwice(), testing::ExitedWithCode(3), "");
}

TEST_F(ProcessTest, EndingChildrenLeavesTheirStatus) {
  const struct {
    const char* command;
    int state;  ///< Of the child when it is ended, as for `waitid`; 0 if it runs.
    std::int32_t status;
  } rows[] = {
      {"echo ready; exit 3", WEXITED, 3},
      {"trap 'exit 0' TERM; echo ready; while :; do sleep 0.01; done", 0, 128 + SIGTERM},
      {"trap 'exit 4' TERM; echo ready; kill -STOP 0; while :; do sleep 0.01; done", WSTOPPED, 4}};
  for (const bool throughShell : {false, true}) {
    const auto former = std::signal(SIGCHLD, throughShell ? SIG_IGN : SIG_DFL);
    for (const auto& [command, state, status] : rows) {
      SCOPED_TRACE(command);
      ProcessRequest request = shell(command);
      request.onLine = [state](std::string_view line) {
        if (line != "ready") {
          return;  // the shell's message about a signalled program
        }
        siginfo_t ended{};
        if (state != 0) {
          ::waitid(P_ALL, 0, &ended, state | WNOWAIT);
        }
        errno = ENOTTY;
        EXPECT_EQ(endRunningProcesses(std::chrono::minutes(1)), state != WEXITED);
        EXPECT_EQ(errno, ENOTTY);
      };
      const auto start = std::chrono::steady_clock::now();
      EXPECT_EQ(runProcess(request).exitCode, status);
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    }
    std::signal(SIGCHLD, former);
  }
}

TEST_F(ProcessTest, GoesOnWithoutADescriptorThatOthersClosed) {
  const TemporaryDirectory directory;
  ProcessRequest request = shell("echo ready; while ! test -e go; do sleep 0.01; done; exit 3");
  request.directory = directory.path();
  for (const bool isReused : {false, true}) {
    std::filesystem::remove(directory.file("go"));
    int descriptor = -1;
    request.onLine = [&](std::string_view) {
      std::error_code error;
      for (int number = 3; number < 64; ++number) {
        const std::string link = "/proc/self/fd/" + std::to_string(number);
        if (std::filesystem::read_symlink(link, error).string().contains("pidfd")) {
          descriptor = number;
          ::close(number);
          EXPECT_TRUE(!isReused || ::open("/dev/zero", O_RDONLY | O_CLOEXEC) == number);
        }
      }
      directory.write("go", "");
    };
    EXPECT_EQ(runProcess(request).exitCode, 3);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "the child was not reaped";
    if (isReused) {
      EXPECT_EQ(::close(descriptor), 0) << "another file was closed";
    }
  }
}

TEST_F(ProcessTest, NamesMissingInput) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root may change its root";
  }
  const TemporaryDirectory directory;
  const auto runElsewhere = [&] {
    const bool changed = ::chroot(directory.path().c_str()) == 0;
    const ProcessResult result = runProcess({.executable = "/bin/sh"});
    ::_exit(changed && result.exitCode == 127 && result.unusablePath == "/dev/null" ? 0 : 1);
  };
  EXPECT_EXIT(runElsewhere(), testing::ExitedWithCode(0), "");
}

TEST_F(ProcessTest, DoesNotWaitForAGrandchildThatKeepsThePipe) {
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult result = runProcess(shell("sleep 60 & echo $!"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(::kill(std::stoi(result.output), SIGKILL), 0);
}

TEST_F(ProcessTest, DeadlineKillsTheProcessGroup) {
  const ProcessResult result = runIntoDeadline(shell("sleep 60 & echo $!; wait"));
  EXPECT_EQ(result.exitCode, 128 + SIGTERM);
  // The group's pipe is at end of file, so only an exiting process can still have the id.
  std::ifstream file("/proc/" + result.output.substr(0, result.output.find('\n')) + "/cmdline");
  std::string commandLine;
  EXPECT_FALSE(std::getline(file, commandLine)) << commandLine;
}

TEST_F(ProcessTest, ChildIsKilledAfterTheGracePeriod) {
  ProcessRequest request =
      shell("trap 'echo cleaned; exit 9' TERM; echo ready; kill -STOP $$; while :; do :; done");
  request.grace = std::chrono::minutes(1);
  const ProcessResult cleaned = runIntoDeadline(request);
  EXPECT_EQ(cleaned.exitCode, 9);
  EXPECT_EQ(cleaned.output, "ready\ncleaned\n");
  request.arguments[1] = "trap '' TERM; echo ready; while :; do sleep 60; done";
  request.grace = milliseconds(50);
  EXPECT_EQ(runIntoDeadline(request).exitCode, 128 + SIGKILL);
}

TEST_F(ProcessTest, LinesArriveInOrderAtAnyOutputLimit) {
  using Lengths = std::vector<std::size_t>;
  const std::vector<std::tuple<const char*, std::size_t, Lengths>> rows{
      {"head -c 131073 /dev/zero; printf '\\nend'", 10, {65536, 65536, 1, 3}},
      {"head -c 65536 /dev/zero; printf '\\nend\\n'", 65530, {65536, 3}},
      {"printf 'one\\ntwo\\nthree\\n'", 6, {3, 3, 5}},
      {"head -c 65535 /dev/zero; printf '\\342\\200\\231x'", 100000, {65535, 4}},
      {"head -c 65537 /dev/zero | LC_ALL=C tr '\\0' '\\200'", 10, {65536, 1}}};
  for (const auto& [command, maximum, expected] : rows) {
    SCOPED_TRACE(command);
    ProcessRequest request = shell(command);
    Lengths lengths;
    request.onLine = [&](std::string_view line) { lengths.push_back(line.size()); };
    std::string all;
    request.onOutput = [&](std::string_view piece) { all += piece; };
    request.maximumOutputBytes = maximum;
    EXPECT_EQ(runProcess(request).exitCode, 0);
    EXPECT_EQ(lengths, expected);
    const auto ends = static_cast<std::size_t>(std::ranges::count(all, '\n'));
    EXPECT_EQ(all.size(), std::accumulate(lengths.begin(), lengths.end(), ends));
  }
  ProcessRequest request = shell("printf 'a\\377'; printf b >&2; head -c 200000 /dev/zero");
  request.maximumOutputBytes = 5;
  EXPECT_EQ(runProcess(request).output,
            std::string("a\377b\0\0", 5) + "\n[199998 more bytes of output were dropped]\n");
}

}  // namespace
}  // namespace platform
