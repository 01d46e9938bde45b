// The simulated Mac itself: it leaves nothing behind and reports errors.
#include <gmock/gmock.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Process.h"
#include "Tests/EndToEnd/MacRun.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace end_to_end {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Ran = platform::ProcessResult;

Ran shell(const std::string& command) {
  return platform::runProcess({.executable = "/bin/sh", .arguments = {"-c", command}});
}

std::string enterCommand() { return "'" + programFolder() + "/enter' "; }

/// Runs `enter` with these arguments, as the shell reads them.
Ran enter(const std::string& arguments) { return shell(enterCommand() + arguments); }

TEST_F(SimulatedMacTest, ExitsWithTheCommandsStatus) {
  EXPECT_EQ(enter("healthy -- sh -c 'exit 3'").exitCode, 3);
  EXPECT_EQ(enter("healthy -- sh -c 'kill -15 $$'").exitCode, 143);
  EXPECT_EQ(enter("healthy -- no-such-command").exitCode, 127);
  const std::string ignoring = R"(timeout 60 perl -e '$SIG{CHLD} = "IGNORE"; exec @ARGV' )";
  EXPECT_EQ(shell(ignoring + enterCommand() + "healthy -- sh -c 'exit 3'").exitCode, 3);
}

TEST_F(SimulatedMacTest, HasTheFilesAndProgramsOfTheScenario) {
  const Ran ran = enter(
      "--set 'files//usr/bin/new-tool=#!/bin/sh\necho \"$1\"' --set files//Library/new/file=x "
      "--set 'files//usr/bin/sudo=#!/bin/sh\necho replaced' "
      "healthy -- sh -c 'new-tool y; cat /Library/new/file; sudo; softwareupdate --list > "
      "/dev/null 2>&1 || echo $?; test -x /Library/new/file'");
  EXPECT_EQ(ran.output, "y\nx\nreplaced\n");
  EXPECT_EQ(ran.exitCode, 1);
  EXPECT_EQ(enter("--set files//new/x=y --set files//etc/new=z healthy -- "
                  "sh -c 'cat /new/x /etc/new; grep -c alice /etc/passwd'")
                .output,
            "y\nz\n1\n");
  EXPECT_THAT(enter("--set files//usr/../x=y healthy -- true").output,
              HasSubstr("expected the absolute path of a file in [files], found \"/usr/../x\""));
}

TEST_F(SimulatedMacTest, LeavesNoTraceOnTheHost) {
  const TemporaryDirectory directory;
  const std::string mounts = shell("cat /proc/self/mounts").output;
  const std::string path = directory.path();
  const std::string command = "healthy -- sh -c 'touch " + path +
                              "/x /usr/x /etc/x /var/x; echo x > /etc/passwd; "
                              "echo 1 > /.simulated-mac/x; sh -c \"sleep 54321; :\" " +
                              path + " & softwareupdate --list'";
  EXPECT_EQ(enter(command).exitCode, 0);
  EXPECT_EQ(shell("cat /proc/self/mounts").output, mounts);
  EXPECT_EQ(shell("ls -A " + path).output, "");
  EXPECT_EQ(shell("ls -d /usr/x /etc/x /var/x /.simulated-mac 2> /dev/null").output, "");
  EXPECT_THAT(shell("head -1 /etc/passwd").output, StartsWith("root:"));
  const std::string pattern = path.substr(0, path.size() - 1) + '[' + path.back() + ']';
  EXPECT_EQ(shell("grep -lsaz '" + pattern + "' /proc/[0-9]*/cmdline").output, "");
}

/// What a Mac could change: the programs and folders that it shows, and devices other than
/// pseudo-terminals and shared memory, which come and go with other programs.
std::string hostTree(const std::string& folder) {
  const std::string own = programFolder() + "/..";
  return shell("find -H " + folder + " " + own + "/libexec " + own +
               "/share/vexlo/simulated-mac/ /etc /usr/bin /usr/sbin /usr/libexec /var/run "
               "-printf '%p %M %U:%G %s %C@ %l\\n'; find /dev -xdev -printf '%p %M %U:%G\\n'")
      .output;
}

/// The mount points of the Mac that aren't read-only.
constexpr const char* kWritableMounts = "awk '$6 !~ /^ro/ { print $5 }' /proc/self/mountinfo";

TEST_F(SimulatedMacTest, EveryScenarioLeavesTheHostsTreeAsItIs) {
  std::istringstream list(enter("--list").output);
  int count = 0;
  for (std::string line; std::getline(list, line); ++count) {
    const std::string name = line.substr(0, line.find(' '));
    EXPECT_NE(line.find_first_not_of(' ', name.size()), std::string::npos) << name;
    const TemporaryDirectory directory;
    const std::string before = hostTree(directory.path());
    for (const std::string user : {"", "--user-namespace "}) {
      const Ran ran = enter(user + name + " -- " + kWritableMounts);
      EXPECT_EQ(ran.exitCode, 0) << name;
      EXPECT_EQ(ran.output, "/\n/dev/pts\n/proc\n") << name;
    }
    EXPECT_EQ(hostTree(directory.path()), before) << name;
  }
  EXPECT_GE(count, 10);
}

/// Prints what a hostile program achieves, without harm if it does; $1 is a folder of the host.
constexpr const char* kAttacks = R"(
  tries() { sh -c "$1" sh "$folder" > /dev/null 2>&1 && echo "$1"; }
  folder=$1
  for file in /.simulated-mac/tool /Applications/*/Contents/MacOS/* /usr/bin/env /etc/passwd; do
    tries ": >> '$file'"; tries "touch '$file'"; tries "chmod 755 '$file'"; tries "chown 0 '$file'"
  done
  for file in /dev/null /dev/tty /usr "$folder"; do
    tries "chmod $(stat -c %a $file) $file"; tries "touch $file/x"; tries "chown 0 $file"
  done
  tries 'mount -o remount,rw,bind /usr || mount -o remount,rw,bind /dev/null'
  tries 'mknod /private/tmp/zero c 1 5'
  tries 'cat /proc/sys/vm/swappiness > /proc/sys/vm/swappiness'
  LC_ALL=C perl -e 'mkdir "/private/tmp/x"; chroot "/private/tmp/x"; chdir ".." for 1 .. 20; chroot ".";' \
    -e 'print "left the Mac\n" if -d "/.." . $ARGV[0] && open my $file, ">", "$ARGV[0]/x"' "$folder"
)";

TEST_F(SimulatedMacTest, HostileProgramChangesNothingOutside) {
  const TemporaryDirectory directory;
  const std::string script = directory.write("attacks", kAttacks);
  const std::string folder = directory.path() + "/folder";
  ASSERT_EQ(shell("chmod 755 " + directory.path() + "; mkdir -m 777 " + folder).exitCode, 0);
  const std::string before = hostTree(directory.path());
  const std::string arguments =
      "--set 'application com.example.X/instances=1' healthy -- sh " + script + " " + folder;
  const std::string asNobody = "setpriv --reuid 65534 --regid 65534 --clear-groups ";
  std::vector<std::string> commands{enterCommand() + arguments,
                                    enterCommand() + "--user-namespace " + arguments};
  // A build in a private folder can't be used by another user.
  const std::string settings = programFolder() + "/../share/vexlo/simulated-mac/defaults.ini";
  if (shell(asNobody + "test -r " + settings).exitCode == 0) {
    commands.push_back(asNobody + enterCommand() + arguments);
  }
  for (const std::string& command : commands) {
    const Ran ran = shell(command);
    EXPECT_TRUE(ran.output.empty() || ran.exitCode == 77) << command << "\n" << ran.output;
    EXPECT_EQ(hostTree(directory.path()), before) << command;
  }
}

TEST_F(SimulatedMacTest, BadAndHostileSettingsAreErrorsAndChangeNothing) {
  const TemporaryDirectory directory;
  const std::string up = "../../../../.." + directory.path();
  const std::string before = hostTree(directory.path());
  for (const std::string& setting :
       Texts{"prompt/user=nonsense", "application X/instances=abc", "application X/bundle=a/b",
             "open/takes=forever", "mac/free disk=8q", "power/source=battery full 4",
             "users/account=" + up + " 4242", "users/account=" + up + "/new 4242",
             "users/account=.. 4242", "users/account=a:0:0:: 4242", "application com.x/bundle=..",
             "application " + up + "/x/instances=1", "application com.x./instances=1",
             "application ../instances=1"}) {
    const std::size_t equals = setting.find('=');
    const std::string value = setting.substr(equals + 1);
    const std::string section = setting.substr(0, setting.find('/'));
    for (const std::string user : {"", "--user-namespace "}) {
      const Ran ran = enter(user + "--set '" + setting + "' healthy -- true");
      EXPECT_EQ(ran.exitCode, 65) << setting << "\n" << ran.output;
      EXPECT_THAT(ran.output, AllOf(StartsWith("enter: --set: expected "),
                                    AnyOf(HasSubstr("found \"" + value + '"'),
                                          HasSubstr("found [" + section + ']'))));
    }
  }
  EXPECT_EQ(hostTree(directory.path()), before);
}

TEST_F(SimulatedMacTest, DevicesAndTerminalsWork) {
  EXPECT_EQ(enter("healthy -- sh -c 'echo x > /dev/null; head -c 3 /dev/zero | wc -c; "
                  "script -qec \"tty; echo x > /dev/tty\" /dev/null < /dev/null'")
                .output,
            "3\n/dev/pts/0\r\nx\r\n");
}

TEST_F(SimulatedMacTest, SignalLetsTheCommandExit) {
  const TemporaryDirectory directory;
  const std::string up = directory.file("up");
  const std::string trap = "trap \"sleep 0.2; exit 3\" TERM; echo up; while :; do sleep 0.02; done";
  std::string script = enterCommand() + "healthy -- sh -c '" + trap + "' > " + up;
  script += " & until [ -s " + up + " ]; do sleep 0.02; done; kill $!; wait $!";
  EXPECT_EQ(shell(script).exitCode, 3);
}

TEST_F(SimulatedMacTest, EndsWhenItsParentDies) {
  for (const std::string signal : {"TERM", "KILL"}) {
    const TemporaryDirectory directory;
    std::string script = enterCommand();
    script += "healthy -- sh -c 'echo up; exec sleep 654\\32' > " + directory.file("up");
    script += " & until [ -s " + directory.file("up") + " ]; do sleep 0.02; done; ";
    script += "kill -" + signal + " $!; wait $!; ";
    script +=
        "for time in $(seq 250); do "
        "grep -qsaz 6543[2] /proc/[0-9]*/cmdline || exit 0; sleep 0.02; done; exit 9";
    EXPECT_EQ(shell(script).exitCode, 0) << signal;
  }
}

TEST_F(SimulatedMacTest, WorksWithASingleUser) {
  const TemporaryDirectory directory;
  const Ran ran = enter("--user-namespace --records " + directory.file("calls") +
                        " healthy -- sudo -u alice open -a nothing");
  EXPECT_EQ(ran.exitCode, 1) << ran.output;
  EXPECT_THAT(directory.read("calls"),
              HasSubstr("\"tool\":\"open\",\"arguments\":[\"-a\",\"nothing\"],\"input\":null,"
                        "\"user\":\"alice\",\"uid\":0"));
}

TEST(SimulatedMacScenarioTest, MistakesAreErrorsWithTheirPlace) {
  const std::vector<std::pair<std::string, std::string>> mistakes{
      {"[mac]\nversoin = 14\n",
       "line 2: expected one of the keys version, compatibility version, machine, free disk, "
       "language, time zone in "
       "[mac], found \"versoin\""},
      {"[battery]\n", "line 1: expected one of the sections mac, "},
      {"[prompt]\nafter = soon\n",
       "line 2: expected DURATION for after in [prompt], found \"soon\"; DURATION is a time"},
      {"[open]\nexits =\n  | 3\n  | 4\nstdout = x\n",
       "line 2: expected STATUS | signal SIGNAL | never for exits in [open], found \"3\""}};
  const TemporaryDirectory directory;
  for (const auto& [text, message] : mistakes) {
    const std::string file = directory.write("mistake.ini", text);
    const Ran ran = enter(file + " -- true");
    SCOPED_TRACE(text);
    EXPECT_EQ(ran.exitCode, 65);
    EXPECT_THAT(ran.output, StartsWith("enter: " + file + ", " + message));
  }
  EXPECT_EQ(enter("healthy").exitCode, 64);
  EXPECT_EQ(enter("no-such-scenario -- true").exitCode, 65);
}

}  // namespace
}  // namespace end_to_end
