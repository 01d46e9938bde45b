#include "Platform/Process.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

ProcessRequest shell(const std::string& command) {
  return {.executable = "/bin/sh", .arguments = {"-c", command}};
}

/// Runs into a deadline that leaves the child the time for its first words, however busy the
/// machine is.
ProcessResult runIntoDeadline(ProcessRequest request) {
  for (milliseconds timeout{100};; timeout *= 2) {
    request.timeout = timeout;
    ProcessResult result = runProcess(request);
    EXPECT_TRUE(result.timedOut);
    if (!result.output.empty()) {
      return result;
    }
  }
}

std::ptrdiff_t openDescriptors() {
  return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"));
}

double secondsOf(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Sets what the process does with one signal, for its lifetime.
class Disposition {
 public:
  Disposition(int signal, void (*handler)(int)) : signal_(signal) {
    struct sigaction action{};
    action.sa_handler = handler;
    ::sigaction(signal, &action, &former_);
  }
  ~Disposition() { ::sigaction(signal_, &former_, nullptr); }
  Disposition(const Disposition&) = delete;
  Disposition& operator=(const Disposition&) = delete;

 private:
  int signal_;
  struct sigaction former_{};
};

/// Every test ends without a descriptor or a child more than it began with.
class ProcessTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(openDescriptors(), before_);
    siginfo_t child{};
    EXPECT_EQ(::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT), -1)
        << "child " << child.si_pid << " was left";
  }

 private:
  std::ptrdiff_t before_ = openDescriptors();
};

struct StatusCase {
  const char* name;
  ProcessRequest request;
  std::int32_t exitCode;
  std::errc startError = {};
};

class ProcessStatusTest : public ProcessTest, public ::testing::WithParamInterface<StatusCase> {};

TEST_P(ProcessStatusTest, IsToldAsAShellWould) {
  const ProcessResult result = runProcess(GetParam().request);
  EXPECT_EQ(result.exitCode, GetParam().exitCode);
  EXPECT_EQ(result.startError, std::make_error_condition(GetParam().startError));
  EXPECT_EQ(result.output, "");
  EXPECT_FALSE(result.timedOut);
}

INSTANTIATE_TEST_SUITE_P(
    Endings, ProcessStatusTest,
    ::testing::Values(
        StatusCase{"Success", shell("true"), 0}, StatusCase{"Failure", shell("exit 3"), 3},
        StatusCase{"Signal", shell("kill -9 $$"), 137},
        StatusCase{"MissingProgram",
                   {.executable = "/no/such/program"},
                   127,
                   std::errc::no_such_file_or_directory},
        StatusCase{
            "NotExecutable", {.executable = "/etc/passwd"}, 126, std::errc::permission_denied},
        StatusCase{"Directory", {.executable = "/etc"}, 126, std::errc::permission_denied},
        StatusCase{"MissingWorkingDirectory",
                   {.executable = "/bin/true", .directory = "/no/such"},
                   127,
                   std::errc::no_such_file_or_directory},
        StatusCase{"TextCutByNul", shell(std::string("exit 0;\0exit 1", 14)), 127,
                   std::errc::invalid_argument}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ProcessTest, OutputAndErrorComeInOneTextAsTheyWereWritten) {
  EXPECT_EQ(runProcess(shell("printf 'a\\377'; printf b >&2; printf '\\0c'")).output,
            std::string("a\377b\0c", 5));
}

TEST_F(ProcessTest, InputAndOutputLargerThanThePipesPassTogether) {
  std::string input;
  for (int line = 0; input.size() < 1'000'000; ++line) {
    input += std::to_string(line) + '\n';
  }
  ProcessRequest request{.executable = "/bin/cat", .input = input};
  EXPECT_TRUE(runProcess(request).output == input);
}

TEST_F(ProcessTest, AChildThatReadsNoInputRaisesNoSignal) {
  const std::string input(1'000'000, 'x');
  ProcessRequest request = shell("exec <&-; echo closed");
  request.input = input;
  const ProcessResult result = runProcess(request);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "closed\n");
  sigset_t pending;
  ::sigpending(&pending);
  EXPECT_EQ(::sigismember(&pending, SIGPIPE), 0);
}

TEST_F(ProcessTest, WithoutInputTheChildReadsNothing) {
  EXPECT_EQ(runProcess({.executable = "/bin/cat"}).output, "");
  EXPECT_EQ(runProcess({.executable = "/bin/cat", .input = ""}).output, "");
}

TEST_F(ProcessTest, TheChildStartsCleanInItsOwnGroup) {
  const Disposition ignored(SIGUSR2, SIG_IGN);
  sigset_t blocked;
  sigset_t former;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &former);
  const int inherited = ::fcntl(STDERR_FILENO, F_DUPFD, 77);  // without close-on-exec
  ProcessRequest request = shell(
      "pwd; read -r id name state parent group rest < /proc/$$/stat\n"
      "[ $group = $$ ] && echo own group\n"
      "[ -e /proc/$$/fd/" +
      std::to_string(inherited) +
      " ] || echo closed\n"
      "sed -n 's/^Sig\\(Blk\\|Ign\\):.*\\(.\\{7\\}\\)$/\\2/p' /proc/self/status");
  request.directory = "/usr";
  EXPECT_EQ(runProcess(request).output, "/usr\nown group\nclosed\n0000000\n0000000\n");
  ::close(inherited);
  ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

TEST_F(ProcessTest, StandardDescriptorsThatTheProcessHasClosedAreNoObstacle) {
  EXPECT_EXIT(
      {
        ::close(STDIN_FILENO);
        ::close(STDOUT_FILENO);
        const ProcessResult result = runProcess({.executable = "/bin/cat", .input = "through"});
        ::_exit(result.output == "through" ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(ProcessTest, AGrandchildThatKeepsThePipeIsNotWaitedFor) {
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult result = runProcess(shell("sleep 60 & echo $!"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(30));
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(::kill(std::stoi(result.output), SIGKILL), 0);
}

TEST_F(ProcessTest, TheDeadlineEndsTheWholeGroup) {
  const ProcessResult result = runIntoDeadline(shell("sleep 60 & echo $!; wait"));
  EXPECT_EQ(result.exitCode, 128 + SIGTERM);
  // The group's pipe is at its end, so only a process that is ending can still have the id.
  std::ifstream file("/proc/" + std::to_string(std::stoi(result.output)) + "/stat");
  std::string name;
  std::string state;
  int number = 0;
  unsigned flags = 0;
  file >> number >> name >> state >> number >> number >> number >> number >> number >> flags;
  constexpr unsigned kEnding = 0x4;  // PF_EXITING of the kernel
  EXPECT_TRUE(!file || state == "Z" || (flags & kEnding) != 0) << state;
}

TEST_F(ProcessTest, ThePoliteSignalIsFollowedByTheOther) {
  ProcessRequest request = shell("trap '' TERM; echo ready; while :; do sleep 60; done");
  request.grace = milliseconds(50);
  const ProcessResult result = runIntoDeadline(request);
  EXPECT_EQ(result.exitCode, 128 + SIGKILL);
  EXPECT_EQ(result.output, "ready\n");
}

TEST_F(ProcessTest, AChildMayCleanUpInItsGraceAndEndAsItLikes) {
  ProcessRequest request =
      shell("trap 'echo cleaned; exit 9' TERM; echo ready; kill -STOP $$; while :; do :; done");
  request.grace = seconds(60);
  const ProcessResult result = runIntoDeadline(request);
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_EQ(result.output, "ready\ncleaned\n");
}

TEST_F(ProcessTest, AProcessThatIgnoresItsChildrenLearnsTheOutputButNoStatus) {
  const Disposition ignored(SIGCHLD, SIG_IGN);
  const double before = secondsOf(CLOCK_THREAD_CPUTIME_ID);
  const ProcessResult result = runProcess(shell("echo said; sleep 0.3; exit 3"));
  EXPECT_LT(secondsOf(CLOCK_THREAD_CPUTIME_ID) - before, 0.1) << "spins";
  EXPECT_EQ(result.exitCode, ProcessResult::kUnknownStatus);
  EXPECT_EQ(result.output, "said\n");
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(runProcess({.executable = "/bin/true"}).exitCode, ProcessResult::kUnknownStatus);
}

struct LinesCase {
  const char* name;
  const char* command;
  std::vector<std::size_t> lengths;  ///< Of the lines, in order.
  std::size_t maximumOutputBytes;
};

class ProcessLinesTest : public ProcessTest, public ::testing::WithParamInterface<LinesCase> {};

TEST_P(ProcessLinesTest, ComeInOrderWhateverIsKept) {
  ProcessRequest request = shell(GetParam().command);
  std::vector<std::size_t> lengths;
  request.onLine = [&](std::string_view line) { lengths.push_back(line.size()); };
  request.maximumOutputBytes = GetParam().maximumOutputBytes;
  EXPECT_EQ(runProcess(request).exitCode, 0);
  EXPECT_EQ(lengths, GetParam().lengths);
}

constexpr std::size_t kPlenty = 1'000'000;
constexpr const char* kLongLine = "head -c 131073 /dev/zero; printf '\\nend'";
constexpr const char* kFullPiece = "head -c 65536 /dev/zero; printf '\\nend\\n'";
INSTANTIATE_TEST_SUITE_P(
    Outputs, ProcessLinesTest,
    ::testing::Values(LinesCase{"Plain", "printf 'one\\n\\nfour'", {3, 0, 4}, kPlenty},
                      LinesCase{"LongLine", kLongLine, {65536, 65536, 1, 3}, kPlenty},
                      LinesCase{"LongLineBeyondTheLimit", kLongLine, {65536, 65536, 1, 3}, 10},
                      LinesCase{"FullPiece", kFullPiece, {65536, 3}, kPlenty},
                      LinesCase{"FullPieceBeyondTheLimit", kFullPiece, {65536, 3}, 65530},
                      LinesCase{"LimitInALine", "printf 'one\\ntwo\\nthree\\n'", {3, 3, 5}, 6},
                      LinesCase{"NothingKept", "printf 'one\\ntwo'", {3, 3}, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ProcessTest, OutputBeyondTheLimitIsDroppedWithANote) {
  ProcessRequest request = shell("printf abcdef; head -c 200000 /dev/zero");
  request.maximumOutputBytes = 6;
  EXPECT_EQ(runProcess(request).output, "abcdef\n[200000 more bytes of output were dropped]\n");
}

TEST_F(ProcessTest, WhatTheLineHandlerThrowsEndsTheChild) {
  ProcessRequest request = shell("echo $$; sleep 60");
  pid_t child = 0;
  request.onLine = [&](std::string_view line) {
    child = std::stoi(std::string(line));
    throw std::runtime_error("no more");
  };
  EXPECT_THROW((void)runProcess(request), std::runtime_error);
  EXPECT_EQ(::kill(child, 0), -1);
}

TEST_F(ProcessTest, ThreadsRunTheirChildrenSideBySide) {
  std::vector<std::jthread> threads;
  constexpr int kThreads = 4;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([number] {
      const std::string input(100'000, static_cast<char>('a' + number));
      for (int round = 0; round < 10; ++round) {
        EXPECT_TRUE(runProcess({.executable = "/bin/cat", .input = input}).output == input);
      }
    });
  }
}

}  // namespace
}  // namespace platform
