#include "Platform/RunningApplications.h"

#include <gtest/gtest.h>
#include <linux/sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

/// Different for each test process, since tests run in parallel and see each other's applications.
const std::string kIdentifier = "com.example.editor" + std::to_string(::getpid());
constexpr const char* kReadyAndStop = "\necho ready\nkill -STOP $$\n";
constexpr const char* kProgram = "Editor.app/Contents/MacOS/editor";

/// A program that has written a line; killed and reaped on destruction.
struct Launched {
  explicit Launched(const std::string& command)
      : output(::popen(("echo $$; exec " + command).c_str(), "r")) {
    std::array<char, 32> line{};
    EXPECT_NE(std::fgets(line.data(), line.size(), output), nullptr);
    pid = std::stoi(line.data());
    EXPECT_NE(std::fgets(line.data(), line.size(), output), nullptr);
  }
  Launched(const Launched&) = delete;
  Launched& operator=(const Launched&) = delete;
  ~Launched() {
    ::kill(pid, SIGKILL);
    ::pclose(output);
  }
  FILE* output;
  pid_t pid = 0;
};

class RunningApplicationsTest : public ::testing::Test {
 protected:
  RunningApplicationsTest() {
    folder.write("Editor.app/Contents/Info.plist",
                 "{CFBundleIdentifier = '" + kIdentifier + "'; CFBundleName = Editor;}");
  }
  /// Adds a script that starts with the line or, without one, a copy of the shell.
  [[nodiscard]] std::string add(const std::string& name, const std::string& firstLine = "") const {
    std::string path = folder.write(name, firstLine + kReadyAndStop);
    if (firstLine.empty()) {
      std::filesystem::copy_file("/bin/sh", path,
                                 std::filesystem::copy_options::overwrite_existing);
    }
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
  TemporaryDirectory folder;
};

TEST_F(RunningApplicationsTest, FindsScriptsHoweverStarted) {
  const std::string script = add(kProgram, "#! /bin/sh -e");
  const std::string viaEnv = add("Editor.app/Contents/MacOS/env", "#!/usr/bin/env sh");
  const std::string link = folder.file("link");
  std::filesystem::create_symlink(script, link);
  const std::string relative = "env -C " + folder.file("Editor.app/Contents") + " MacOS/editor";
  for (const std::string& command :
       {script + " argument", viaEnv, relative, link, "sh -o errexit " + script}) {
    SCOPED_TRACE(command);
    const Launched launched(command);
    const auto applications = runningApplications(kIdentifier);
    ASSERT_EQ(applications.size(), 1U);
    EXPECT_EQ(applications[0].processIdentifier, launched.pid);
    EXPECT_EQ(applications[0].executableURL, command == viaEnv ? viaEnv : script);
    const auto all = runningApplications(std::nullopt);
    EXPECT_EQ(std::ranges::count(all, kIdentifier, &ApplicationProcess::bundleIdentifier), 1);
  }
}

TEST_F(RunningApplicationsTest, IgnoresOtherProcesses) {
  const std::string script = add(kProgram, "#!/bin/sh");
  folder.write("Damaged.app/Contents/Info.plist", "<plist><dict><key>");
  const std::array<Launched, 4> others = {
      Launched("tail -f " + script), Launched("sh " + add("reader", "#!/bin/sh") + " " + script),
      Launched(std::string("sh -c '") + kReadyAndStop + "' " + script),
      Launched(add("Damaged.app/Contents/MacOS/editor") + " -c '" + kReadyAndStop + "'")};
  EXPECT_TRUE(runningApplications(kIdentifier).empty());
  EXPECT_TRUE(runningApplications("").empty()) << "the damaged one has no identifier";
  for (const auto& application : runningApplications(std::nullopt)) {
    EXPECT_NE(application.bundleIdentifier, "");
  }
}

TEST_F(RunningApplicationsTest, LimitsTheSizeOfInfoPlist) {
  const auto isFound = [&](const std::string& more) {
    folder.write("Editor.app/Contents/Info.plist",
                 "{CFBundleIdentifier = '" + kIdentifier + "'; More = " + more + ";}");
    const Launched launched(add(kProgram, "#!/bin/sh"));
    return !runningApplications(kIdentifier).empty();
  };
  EXPECT_TRUE(isFound("'" + std::string(200'000, 'x') + "'"));
  EXPECT_FALSE(isFound("'" + std::string(262'144, 'x') + "'"));
  std::string array = "(a";
  for (int count = 0; count < 20'000; ++count) {
    array += ",a";
  }
  EXPECT_FALSE(isFound(array + ")"));
}

/// Starts a process with the id of the former `pid`, which waits for signals; -1 if not permitted.
pid_t startWithId(pid_t pid) {
  clone_args arguments{};
  arguments.exit_signal = SIGCHLD;
  arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
  arguments.set_tid_size = 1;
  const auto made = static_cast<pid_t>(::syscall(SYS_clone3, &arguments, sizeof arguments));
  if (made == 0) {
    ::pause();
    ::_exit(0);
  }
  return made;
}

TEST_F(RunningApplicationsTest, ForceTerminateSparesALaterProcessWithTheSameId) {
  const std::string program = add(kProgram);
  std::optional<Launched> launched(program + " -c '" + kReadyAndStop + "'");
  const pid_t pid = launched->pid;
  std::filesystem::remove(program);
  EXPECT_EQ(runningApplications(kIdentifier).size(), 1U);
  EXPECT_EQ(add(kProgram), program);  // as an update does
  const auto applications = runningApplications(kIdentifier);
  ASSERT_EQ(applications.size(), 1U);
  EXPECT_EQ(applications[0].executableURL, program);
  EXPECT_TRUE(applications[0].forceTerminate());
  siginfo_t information{};
  ::waitid(P_PID, static_cast<id_t>(pid), &information, WEXITED | WNOWAIT);
  EXPECT_TRUE(runningApplications(kIdentifier).empty()) << "it has exited but has not been reaped";
  EXPECT_FALSE(applications[0].forceTerminate());
  launched.reset();
  // The kernel's start times have a resolution of 10 ms.
  for (const auto now = std::chrono::steady_clock::now();
       std::chrono::steady_clock::now() - now < std::chrono::milliseconds(20);) {
  }
  const pid_t later = startWithId(pid);
  EXPECT_FALSE(applications[0].forceTerminate());
  if (later > 0) {  // this user may choose process ids
    EXPECT_EQ(::waitpid(later, nullptr, WNOHANG), 0) << "it was killed";
    ::kill(later, SIGKILL);
    ::waitpid(later, nullptr, 0);
  }
}

TEST_F(RunningApplicationsTest, TellsNoneFromNotKnown) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the checks need descriptors of their own";
#endif
  const Launched running(add(kProgram, "#!/bin/sh"));
  const int firstFree = ::dup(STDIN_FILENO);
  ::close(firstFree);
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  for (rlim_t free = 0; free < 5; ++free) {
    rlimit few = limit;
    few.rlim_cur = static_cast<rlim_t>(firstFree) + free;
    ::setrlimit(RLIMIT_NOFILE, &few);
    std::error_code failure;
    const std::size_t found = runningApplications(kIdentifier, &failure).size();
    ::setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(found, failure ? 0U : 1U) << free << " free descriptors";
    EXPECT_EQ(failure == std::errc::too_many_files_open, free < 3) << free;
  }
}

}  // namespace
}  // namespace platform
