#include "Platform/RunningApplications.h"

#include <gmock/gmock.h>
#include <linux/sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Descriptor.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// A process's own: the tests run side by side, and each sees the applications of all.
const std::string kIdentifier = "com.example.editor" + std::to_string(::getpid());
constexpr const char* kScriptBody = "\necho ready\nread line\n";

/// A started program that waits on its input; ended and reaped on destruction.
class Launched {
 public:
  Launched(const std::string& directory, const std::vector<std::string>& command) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    EXPECT_EQ(::posix_spawn(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    end_ = Descriptor(ends[0]);
  }
  ~Launched() { end(); }
  Launched(const Launched&) = delete;
  Launched& operator=(const Launched&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  /// Waits until the program has written something.
  void waitUntilReady() const {
    char byte = 0;
    EXPECT_GT(::read(end_.get(), &byte, 1), 0);
  }
  void end() {
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      ::waitpid(std::exchange(pid_, 0), nullptr, 0);
    }
  }

 private:
  pid_t pid_ = 0;
  Descriptor end_;
};

class RunningApplicationsTest : public ::testing::Test {
 protected:
  /// A bundle with the identifier; returns the folder of its programs.
  [[nodiscard]] std::string makeBundle(const std::string& name = "Editor.app",
                                       const std::string& entries = "") const {
    folder.write(name + "/Contents/Info.plist",
                 "<plist><dict><key>CFBundleIdentifier</key><string>" + kIdentifier + "</string>" +
                     entries + "</dict></plist>");
    const std::string programs = folder.file(name + "/Contents/MacOS");
    std::filesystem::create_directories(programs);
    return programs;
  }
  static std::string addProgram(const std::string& programs) {
    std::filesystem::copy_file("/bin/cat", programs + "/editor");
    return programs + "/editor";
  }
  [[nodiscard]] std::string addScript(const std::string& name, const std::string& firstLine) const {
    const std::string path = folder.write(name, firstLine + kScriptBody);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
  }
  static std::vector<std::int32_t> found() {
    std::vector<std::int32_t> pids;
    for (const auto& application : runningApplications(kIdentifier)) {
      pids.push_back(application->processIdentifier());
    }
    return pids;
  }
  TemporaryDirectory folder;
};

TEST_F(RunningApplicationsTest, EveryInstanceIsFoundWithItsNameAndPath) {
  const std::string name = "<key>CFBundleName</key><string>Short</string>";
  const std::string displayName = "<key>CFBundleDisplayName</key><string>Shown</string>";
  const std::string program = addProgram(makeBundle("One.app", name + displayName));
  const Launched first("/", {program});
  const Launched second("/", {program});
  EXPECT_THAT(found(), UnorderedElementsAre(first.pid(), second.pid()));
  for (const auto& application : runningApplications(kIdentifier)) {
    EXPECT_EQ(application->localizedName(), "Shown");
    EXPECT_EQ(application->executablePath(), program);
  }
  EXPECT_THAT(runningApplications(kIdentifier + "0"), IsEmpty());
}

TEST_F(RunningApplicationsTest, AScriptIsFoundHoweverItWasStarted) {
  const std::string programs = makeBundle();
  const std::string script = addScript("Editor.app/Contents/MacOS/run", "#!/bin/sh -e");
  const std::string viaEnv = addScript("Editor.app/Contents/MacOS/env", "#!/usr/bin/env sh");
  const std::string link = folder.file("editor");
  std::filesystem::create_symlink(script, link);
  const std::vector<std::vector<std::string>> commands = {{script, "argument"},
                                                          {viaEnv},
                                                          {"./run"},
                                                          {"../MacOS/run"},
                                                          {link},
                                                          {"/bin/sh", "-e", script},
                                                          {"/bin/sh", "-o", "errexit", script}};
  for (const std::vector<std::string>& command : commands) {
    const Launched launched(programs, command);
    launched.waitUntilReady();
    const auto applications = runningApplications(kIdentifier);
    ASSERT_EQ(applications.size(), 1U) << command[0];
    EXPECT_EQ(applications[0]->processIdentifier(), launched.pid());
    EXPECT_EQ(applications[0]->executablePath(), command[0] == viaEnv ? viaEnv : script);
  }
}

TEST_F(RunningApplicationsTest, OtherProcessesAreNoApplications) {
  const std::string programs = makeBundle();
  const std::string script = addScript("Editor.app/Contents/MacOS/run", "#!/bin/sh");
  const std::string damaged = makeBundle("Damaged.app");
  folder.write("Damaged.app/Contents/Info.plist", "<plist><dict><key>");
  const std::array<Launched, 6> others = {{
      {"/", {"/usr/bin/tail", "-f", script}},
      {"/", {"/bin/sh", addScript("reader", "#!/bin/sh"), script}},
      {"/", {"/bin/sh", "-c", "read line; " + script}},
      {programs, {addProgram(folder.path())}},
      {"/", {addProgram(makeBundle("Editor"))}},  // without the extension
      {"/", {addProgram(damaged)}},
  }};
  others[0].waitUntilReady();
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(RunningApplicationsTest, AnApplicationThatWasReplacedByAnUpdateStillRuns) {
  const std::string programs = makeBundle();
  const std::string program = addProgram(programs);
  const Launched launched("/", {program});
  std::filesystem::remove(program);
  EXPECT_THAT(found(), ElementsAre(launched.pid()));
  addProgram(programs);
  EXPECT_THAT(found(), ElementsAre(launched.pid()));
  EXPECT_EQ(runningApplications(kIdentifier)[0]->executablePath(), program);
}

/// A process with the id that `pid` was, waiting for signals; -1 where that is not allowed.
pid_t startWithId(pid_t pid) {
  clone_args arguments{};
  arguments.exit_signal = SIGCHLD;
  arguments.set_tid = reinterpret_cast<std::uintptr_t>(&pid);
  arguments.set_tid_size = 1;
  const auto made = static_cast<pid_t>(::syscall(SYS_clone3, &arguments, sizeof arguments));
  if (made == 0) {
    for (;;) {
      ::pause();
    }
  }
  return made;
}

TEST_F(RunningApplicationsTest, ForceTerminateEndsTheApplicationAndNoLaterProcessWithItsId) {
  Launched launched("/", {addProgram(makeBundle())});
  const pid_t pid = launched.pid();
  const auto applications = runningApplications(kIdentifier);
  ASSERT_EQ(applications.size(), 1U);
  EXPECT_TRUE(applications[0]->forceTerminate());
  siginfo_t information{};
  ::waitid(P_PID, static_cast<id_t>(pid), &information, WEXITED | WNOWAIT);
  EXPECT_THAT(found(), IsEmpty()) << "it has ended, though nobody has reaped it";
  EXPECT_FALSE(applications[0]->forceTerminate());
  launched.end();
  // The kernel tells starts apart by hundredths of a second.
  for (const auto now = std::chrono::steady_clock::now();
       std::chrono::steady_clock::now() - now < std::chrono::milliseconds(20);) {
  }
  const pid_t later = startWithId(pid);
  EXPECT_FALSE(applications[0]->forceTerminate());
  if (later > 0) {  // this user may choose process ids
    EXPECT_EQ(::waitpid(later, nullptr, WNOHANG), 0) << "it was ended";
    ::kill(later, SIGKILL);
    ::waitpid(later, nullptr, 0);
  }
}

}  // namespace
}  // namespace platform
