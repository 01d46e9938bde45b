#include "Platform/Process.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <vector>

namespace platform {
namespace {

using std::chrono::milliseconds;

ProcessRequest shell(const std::string& command) {
  return {.executable = "/bin/sh", .arguments = {"-c", command}};
}

/// Runs into a deadline that leaves the child, on a busy machine too, the time for a first word.
ProcessResult runIntoDeadline(ProcessRequest request) {
  for (request.timeout = milliseconds(100);; *request.timeout *= 2) {
    ProcessResult result = runProcess(request);
    EXPECT_TRUE(result.timedOut);
    if (!result.output.empty()) {
      return result;
    }
  }
}

/// Every test ends without a descriptor or a child more than it began with.
class ProcessTest : public ::testing::Test {
 protected:
  static std::ptrdiff_t openDescriptors() {
    return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"));
  }
  ~ProcessTest() override {
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
  }
  const std::ptrdiff_t before = openDescriptors();
};

TEST_F(ProcessTest, WhatCanNotBeStartedIsToldAsAShellWould) {
  constexpr std::errc kMissing = std::errc::no_such_file_or_directory;
  const std::vector<std::tuple<ProcessRequest, std::int32_t, std::errc>> rows{
      {{.executable = "/no/such/program"}, 127, kMissing},
      {{.executable = "/etc/passwd"}, 126, std::errc::permission_denied},
      {{.executable = "/bin/true", .directory = "/no/such"}, 127, kMissing},
      {shell(std::string("exit 0;\0exit 1", 14)), 127, std::errc::invalid_argument}};
  for (const auto& [request, exitCode, startError] : rows) {
    const ProcessResult result = runProcess(request);
    EXPECT_EQ(result.exitCode, exitCode) << request.executable;
    EXPECT_EQ(result.startError, std::make_error_condition(startError));
  }
}

TEST_F(ProcessTest, InputLargerThanThePipeMayBeReadInTurnsOrNotAtAll) {
  const std::string input(1'000'000, 'x');
  ProcessRequest request = shell("cat");
  request.input = input;
  EXPECT_TRUE(runProcess(request).output == input);
  request.arguments[1] = "exec <&-; echo closed";
  EXPECT_EQ(runProcess(request).output, "closed\n");
}

TEST_F(ProcessTest, TheChildStartsCleanInItsOwnGroup) {
  const auto former = std::signal(SIGUSR2, SIG_IGN);
  sigset_t blocked;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
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
  ::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
  std::signal(SIGUSR2, former);
}

TEST_F(ProcessTest, AGrandchildThatKeepsThePipeIsNotWaitedFor) {
  const auto start = std::chrono::steady_clock::now();
  const ProcessResult result = runProcess(shell("sleep 60 & echo $!"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  EXPECT_EQ(::kill(std::stoi(result.output), SIGKILL), 0);
}

TEST_F(ProcessTest, TheDeadlineEndsTheWholeGroup) {
  const ProcessResult result = runIntoDeadline(shell("sleep 60 & echo $!; wait"));
  EXPECT_EQ(result.exitCode, 128 + SIGTERM);
  // The group's pipe is at its end, so only a process that is ending can still have the id.
  std::ifstream file("/proc/" + result.output.substr(0, result.output.find('\n')) + "/cmdline");
  std::string commandLine;
  EXPECT_FALSE(std::getline(file, commandLine)) << commandLine;
}

TEST_F(ProcessTest, AChildMayCleanUpInItsGraceAndIsKilledAfterIt) {
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

TEST_F(ProcessTest, LinesComeInOrderWhateverIsKept) {
  using Lengths = std::vector<std::size_t>;
  const std::vector<std::tuple<const char*, std::size_t, Lengths>> rows{
      {"head -c 131073 /dev/zero; printf '\\nend'", 10, {65536, 65536, 1, 3}},
      {"head -c 65536 /dev/zero; printf '\\nend\\n'", 65530, {65536, 3}},
      {"printf 'one\\ntwo\\nthree\\n'", 6, {3, 3, 5}}};
  for (const auto& [command, maximum, expected] : rows) {
    ProcessRequest request = shell(command);
    Lengths lengths;
    request.onLine = [&](std::string_view line) { lengths.push_back(line.size()); };
    request.maximumOutputBytes = maximum;
    EXPECT_EQ(runProcess(request).exitCode, 0);
    EXPECT_EQ(lengths, expected) << command;
  }
  ProcessRequest request = shell("printf 'a\\377'; printf b >&2; head -c 200000 /dev/zero");
  request.maximumOutputBytes = 5;
  EXPECT_EQ(runProcess(request).output,
            std::string("a\377b\0\0", 5) + "\n[199998 more bytes of output were dropped]\n");
}

}  // namespace
}  // namespace platform
