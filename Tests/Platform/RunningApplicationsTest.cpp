#include "Platform/RunningApplications.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/sched.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <thread>

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
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    EXPECT_EQ(::pipe2(input.data(), O_CLOEXEC) + ::pipe2(output.data(), O_CLOEXEC), 0);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
      arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    EXPECT_EQ(
        ::posix_spawn(&pid_, command[0].c_str(), &actions, nullptr, arguments.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    output_ = output[0];
  }
  ~Launched() {
    ::kill(pid_, SIGKILL);
    reap();
    ::close(input_);
    ::close(output_);
  }
  Launched(const Launched&) = delete;
  Launched& operator=(const Launched&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  /// Waits until the program has written something.
  void waitUntilReady() const {
    std::array<char, 16> bytes{};
    EXPECT_GT(::read(output_, bytes.data(), bytes.size()), 0);
  }
  /// Ends it, but leaves it to its parent to be reaped.
  void end() const {
    ::kill(pid_, SIGKILL);
    siginfo_t information{};
    ::waitid(P_PID, static_cast<id_t>(pid_), &information, WEXITED | WNOWAIT);
  }
  void reap() {
    if (!reaped_) {
      reaped_ = ::waitpid(pid_, nullptr, 0) == pid_;
    }
  }

 private:
  pid_t pid_ = 0;
  int input_ = -1;
  int output_ = -1;
  bool reaped_ = false;
};

std::string informationText(const std::string& entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>"
         "<key>CFBundleIdentifier</key><string>" +
         kIdentifier + "</string>" + entries + "</dict></plist>";
}

class RunningApplicationsTest : public ::testing::Test {
 protected:
  /// A bundle with the identifier; returns the folder of its programs.
  // NOLINTNEXTLINE(modernize-use-nodiscard)
  std::string makeBundle(const std::string& name = "Editor.app",
                         const std::string& entries = "") const {
    folder.write(name + "/Contents/Info.plist", informationText(entries));
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
  const std::string program = addProgram(makeBundle());
  EXPECT_THAT(found(), IsEmpty());
  const Launched first("/", {program});
  const Launched second("/", {program});
  EXPECT_THAT(found(), UnorderedElementsAre(first.pid(), second.pid()));
  for (const auto& application : runningApplications(kIdentifier)) {
    EXPECT_EQ(application->localizedName(), "Editor");
    EXPECT_EQ(application->executablePath(), program);
  }
  EXPECT_THAT(runningApplications(kIdentifier + "0"), IsEmpty());
  EXPECT_THAT(runningApplications("C" + kIdentifier.substr(1)), IsEmpty());
}

TEST_F(RunningApplicationsTest, TheDisplayNameGoesBeforeTheBundleName) {
  const std::string name = "<key>CFBundleName</key><string>Short</string>";
  const std::string displayName = "<key>CFBundleDisplayName</key><string>Shown</string>";
  const Launched one("/", {addProgram(makeBundle("One.app", name))});
  const Launched two("/", {addProgram(makeBundle("Two.app", name + displayName))});
  const auto applications = runningApplications(kIdentifier);
  ASSERT_EQ(applications.size(), 2U);
  EXPECT_THAT((std::vector{applications[0]->localizedName(), applications[1]->localizedName()}),
              UnorderedElementsAre("Short", "Shown"));
}

TEST_F(RunningApplicationsTest, AScriptIsFoundHoweverItWasStarted) {
  const std::string programs = makeBundle();
  const std::string script = addScript("Editor.app/Contents/MacOS/run", "#!/bin/sh -e");
  const std::string viaEnv = addScript("Editor.app/Contents/MacOS/env", "#!/usr/bin/env sh");
  const std::vector<std::vector<std::string>> commands = {
      {script, "argument"}, {viaEnv}, {"./run"}, {"../MacOS/run"}, {"/bin/sh", "-e", script}};
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
  const std::string outside = addProgram(folder.path());
  makeBundle("Editor");  // without the extension
  makeBundle("Damaged.app");
  folder.write("Damaged.app/Contents/Info.plist", "<plist><dict><key>");
  std::filesystem::create_directories(folder.file("Bare.app/Contents/MacOS"));
  const std::array<Launched, 7> others = {{
      {"/", {"/usr/bin/tail", "-f", script}},
      {"/", {"/bin/sh", "-c", "read line; " + script}},
      {"/", {outside}},
      {programs, {outside}},
      {"/", {addProgram(folder.file("Editor/Contents/MacOS"))}},
      {"/", {addProgram(folder.file("Damaged.app/Contents/MacOS"))}},
      {"/", {addProgram(folder.file("Bare.app/Contents/MacOS"))}},
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

TEST_F(RunningApplicationsTest, ForceTerminateEndsItOnce) {
  Launched launched("/", {addProgram(makeBundle())});
  const auto applications = runningApplications(kIdentifier);
  ASSERT_EQ(applications.size(), 1U);
  EXPECT_TRUE(applications[0]->forceTerminate());
  launched.end();  // it is gone already; now that is certain
  EXPECT_THAT(found(), IsEmpty()) << "it has ended, though nobody has reaped it";
  EXPECT_FALSE(applications[0]->forceTerminate());
  launched.reap();
  EXPECT_FALSE(applications[0]->forceTerminate());
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

TEST_F(RunningApplicationsTest, ALaterProcessWithTheSameIdIsLeftAlone) {
  Launched launched("/", {addProgram(makeBundle())});
  const auto applications = runningApplications(kIdentifier);
  ASSERT_EQ(applications.size(), 1U);
  launched.end();
  launched.reap();
  const pid_t later = startWithId(launched.pid());
  if (later < 0) {
    GTEST_SKIP() << "this user may not choose process ids";
  }
  EXPECT_FALSE(applications[0]->forceTerminate());
  EXPECT_EQ(::waitpid(later, nullptr, WNOHANG), 0) << "it was ended";
  ::kill(later, SIGKILL);
  ::waitpid(later, nullptr, 0);
}

TEST_F(RunningApplicationsTest, AnotherUsersApplicationIsNeitherSeenNorEnded) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "needs two users";
  }
  const Launched launched("/", {addProgram(makeBundle())});
  const auto applications = runningApplications(kIdentifier);
  ASSERT_EQ(applications.size(), 1U);
  constexpr uid_t kNobody = 65534;
  std::thread([&] {  // the system call changes its own thread alone
    ASSERT_EQ(::syscall(SYS_setresuid, kNobody, kNobody, kNobody), 0);
    EXPECT_THAT(found(), IsEmpty());
    EXPECT_FALSE(applications[0]->forceTerminate());
  })
      .join();
  EXPECT_THAT(found(), ElementsAre(launched.pid()));
}

}  // namespace
}  // namespace platform
