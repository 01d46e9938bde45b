// The simulated Mac itself: nothing of it is left behind, and what goes wrong is said.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "Tests/EndToEnd/MacRun.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace end_to_end {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Ran {
  int status = -1;
  std::string output;
};

Ran shell(const std::string& command) {
  Ran ran;
  FILE* const pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  if (pipe == nullptr) {
    return ran;
  }
  std::array<char, 4096> piece{};
  for (std::size_t size = 0; (size = fread(piece.data(), 1, piece.size(), pipe)) > 0;) {
    ran.output.append(piece.data(), size);
  }
  const int status = pclose(pipe);
  ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return ran;
}

std::string enterCommand() { return "'" + programFolder() + "/enter' "; }

/// Runs `enter` with these arguments, as the shell reads them.
Ran enter(const std::string& arguments) { return shell(enterCommand() + arguments); }

class SimulatedMacTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const auto why = whyNoMac()) {
      GTEST_SKIP() << *why;
    }
  }
};

TEST_F(SimulatedMacTest, EndsAsItsCommandEnds) {
  EXPECT_EQ(enter("healthy -- sh -c 'exit 3'").status, 3);
  EXPECT_EQ(enter("healthy -- sh -c 'kill -15 $$'").status, 143);
  EXPECT_EQ(enter("healthy -- no-such-command").status, 127);
}

TEST_F(SimulatedMacTest, LeavesNoTraceOnTheHost) {
  const TemporaryDirectory directory;
  const std::string mounts = shell("cat /proc/self/mounts").output;
  const std::string command =
      "healthy -- sh -c 'touch " + directory.file("x") +
      " /usr/x /etc/x /var/x; echo x > /etc/passwd; echo 1 > /.simulated-mac/x; sleep 54321 & "
      "softwareupdate --list'";
  EXPECT_EQ(enter(command).status, 0);
  EXPECT_EQ(shell("cat /proc/self/mounts").output, mounts);
  EXPECT_EQ(shell("ls -A " + directory.path()).output, "");
  EXPECT_EQ(shell("ls -d /usr/x /etc/x /var/x /.simulated-mac 2> /dev/null").output, "");
  EXPECT_THAT(shell("head -1 /etc/passwd").output, StartsWith("root:"));
  EXPECT_EQ(shell("grep -lsaz 5432[1] /proc/[0-9]*/cmdline").output, "");
}

TEST_F(SimulatedMacTest, GoesWithItsOwner) {
  for (const std::string signal : {"TERM", "KILL"}) {
    const TemporaryDirectory directory;
    std::string script = enterCommand();
    script += "healthy -- sh -c 'echo up; exec sleep 654\\32' > " + directory.file("up");
    script += " & until [ -s " + directory.file("up") + " ]; do sleep 0.02; done; ";
    script += "kill -" + signal + " $!; wait $!; ";
    script +=
        "for time in $(seq 250); do "
        "grep -qsaz 6543[2] /proc/[0-9]*/cmdline || exit 0; sleep 0.02; done; exit 9";
    EXPECT_EQ(shell(script).status, 0) << signal;
  }
}

TEST_F(SimulatedMacTest, NeedsNoSecondUser) {
  const TemporaryDirectory directory;
  const Ran ran = enter("--user-namespace --records " + directory.file("calls") +
                        " healthy -- sudo -u alice open -a nothing");
  EXPECT_EQ(ran.status, 1) << ran.output;
  EXPECT_THAT(directory.read("calls"),
              HasSubstr("\"tool\":\"open\",\"arguments\":[\"-a\",\"nothing\"],\"input\":null,"
                        "\"user\":\"alice\",\"uid\":0"));
}

TEST_F(SimulatedMacTest, ChangesNoFileForItsRecords) {
  const TemporaryDirectory directory;
  const std::string file = directory.write("calls", "");
  ASSERT_EQ(shell("chmod 600 " + file).status, 0);
  const int status = enter("--records " + file + " healthy -- true").status;
  EXPECT_EQ(status, geteuid() == 0 ? 64 : 0);  // others than root have no second user in the Mac
  EXPECT_EQ(shell("stat -c %a " + file).output, "600\n");
}

TEST_F(SimulatedMacTest, TellsWhatDoesNotStart) {
  const TemporaryDirectory directory;
  const std::string copies = "cp '" + programFolder() + "'/enter " + directory.path() + "; ";
  EXPECT_EQ(shell(copies + directory.file("enter") + " healthy -- true").status, 70);
  if (geteuid() == 0) {  // who becomes alice, who may not run the applications
    const Ran ran =
        shell("chmod 755 " + directory.path() + "; cd '" + programFolder() +
              "'; install -m 700 simulated-mac-tool " + directory.path() + "; " +
              directory.file("enter") + " --set 'application x/name=X' healthy -- true");
    EXPECT_EQ(ran.status, 70);
    EXPECT_EQ(ran.output,
              "enter: [application x]: /Applications/x.app/Contents/MacOS/x: Permission denied\n"
              "enter: [application x] doesn't start\n");
  }
}

TEST_F(SimulatedMacTest, IsThereAtOnce) {
  // In seconds of the processor: how long that takes on the clock is up to the other programs.
  const auto used = [] {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
  };
  const double before = used();
  for (int time = 0; time < 4; ++time) {
    enter("healthy -- true");
  }
  EXPECT_LT((used() - before) / 4, 0.4);
}

TEST_F(SimulatedMacTest, EveryScenarioCanBeEntered) {
  std::istringstream list(enter("--list").output);
  int count = 0;
  for (std::string line; std::getline(list, line); ++count) {
    const std::string name = line.substr(0, line.find(' '));
    const Ran ran = enter(name + " -- true");
    EXPECT_EQ(ran.status, 0) << ran.output;
    EXPECT_NE(line.find_first_not_of(' ', name.size()), std::string::npos) << name;
  }
  EXPECT_GE(count, 10);
}

TEST(SimulatedMacScenarioTest, AMistakeIsAnErrorThatSaysWhere) {
  struct Mistake {
    std::string text;
    std::string message;
  };
  const std::vector<Mistake> mistakes{
      {"[mac]\nversoin = 14\n",
       "line 2: expected one of the keys version, machine, free disk, language, time zone in "
       "[mac], found \"versoin\""},
      {"[battery]\n", "line 1: expected one of the sections mac, "},
      {"\nversion = 14\n", "line 2: expected [section] or key = value, found \"version = 14\""},
      {"[mac\n", "line 1: expected \"]\" at the end of the section's name"},
      {"[mac]\n| text\n", "line 2: expected a key before the first line of its text"},
      {"[prompt]\nafter = soon\n",
       "line 2: expected DURATION for after in [prompt], found \"soon\"; DURATION is a time"},
      {"[open]\nexits =\n  | 3\n  | 4\nstdout = x\n",
       "line 2: expected STATUS | signal SIGNAL | never for exits in [open], found \"3\""}};
  const TemporaryDirectory directory;
  for (const Mistake& mistake : mistakes) {
    const std::string file = directory.write("mistake.ini", mistake.text);
    const Ran ran = enter(file + " -- true");
    EXPECT_EQ(ran.status, 65) << mistake.text;
    EXPECT_THAT(ran.output, StartsWith("enter: " + file + ", " + mistake.message));
  }
  for (const std::string setting :
       {"agent service/state=nonsense", "prompt/user=nonsense", "application X/instances=abc",
        "application X/bundle=a/b", "mdm/enrollment=foo", "open/takes=forever", "mac/version=14.x",
        "mac/free disk=8q", "users/account=dave", "power/source=battery full 4"}) {
    const Ran ran = enter("--set '" + setting + "' healthy -- true");
    EXPECT_EQ(ran.status, 65) << setting;
    const std::string found = "found \"" + setting.substr(setting.find('=') + 1) + "\"";
    EXPECT_THAT(ran.output, AllOf(StartsWith("enter: --set: expected "), HasSubstr(found)));
  }
  EXPECT_EQ(enter("healthy").status, 64);
  EXPECT_EQ(enter("no-such-scenario -- true").status, 65);
}

TEST(SimulatedMacScenarioTest, ASettingReplacesTheDefaultsAndAToolsSectionAsAWhole) {
  const TemporaryDirectory directory;
  const std::string file =
      directory.write("here.ini",
                      "# Here\n[users]\naccount = carol 503\n"
                      "[open]\nstdout =\n  | two \n  |\n  | lines\nexits = 3\n");
  const Ran ran = enter("--set 'open/exits=4' --set 'open/stderr=no' --print " + file);
  EXPECT_THAT(ran.output, HasSubstr("[users]\nconsole = alice\naccount = carol 503\n"));
  EXPECT_THAT(ran.output, HasSubstr("[open]\nexits = 4\nstderr = no\n"));
  EXPECT_THAT(enter("--print " + file).output,
              HasSubstr("stdout =\n| two \n| \n| lines\nexits = 3\n"));
}

}  // namespace
}  // namespace end_to_end
