#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

/// The tool while it runs a program that does not end by itself.
class InterruptionTest : public AgentToolTest {
 protected:
  InterruptionTest() {
    writeActions(R"({"PatchActions":{"1":{"2010":[")" + root.file("I.app") + R"("],"3001":[]}}})");
    ::mkfifo(root.file("fifo").c_str(), 0600);
  }

  /// The installer runs `trap` and says "started" into the FIFO, which it and its children hold
  /// open: the reader's end of file is theirs. Then `interrupt` runs, a shell text in which $tool
  /// is the tool. Answers with what the tool wrote, "status N", and "left behind" if so.
  std::string interrupted(const std::string& trap, const std::string& interrupt) {
    const std::string installer =
        root.write("I.app/Contents/Resources/startosinstall",
                   "#!/bin/sh\nexec 3> '" + root.file("fifo") + "'\n" + trap +
                       "\necho started >&3\nwhile :; do sleep 0.1; done\n");
    ::chmod(installer.c_str(), 0755);
    const std::string script = "\"$@\" & tool=$!\nexec 4< '" + root.file("fifo") +
                               "'\nread -r word <&4\n" + interrupt + R"(
      wait $tool 2>/dev/null; echo "status $?"
      timeout 20 cat <&4 || echo "left behind")";
    return platform::runProcess(
               {.executable = "/bin/sh",
                .arguments = {"-c", script, "sh", VEXLO_PATCH_TOOL, "run", "--patch", "1",
                              "--product", "2", "--service-pack", "3", "--agent-root", root.path(),
                              "--machine", "intel", "--json", "--keep-going"}})
        .output;
  }
};

TEST_F(InterruptionTest, EndsTheRunningProgramAndTellsNoResult) {
  const std::string output = interrupted("", "kill -TERM $tool");
  EXPECT_THAT(output, EndsWith("vexlo-patch: interrupted; the running program was ended\n"
                               "status 143\n"));
  EXPECT_THAT(output, Not(HasSubstr("\"result\"")));
}

TEST_F(InterruptionTest, AStubbornProgramIsEndedByASecondSignalOrAfterTheGrace) {
  const std::string output =
      interrupted("trap 'echo stubborn >&3' TERM",
                  "kill -TERM $tool; read -r word <&4; echo $word; kill -HUP $tool");
  const std::string ended = "vexlo-patch: interrupted; the running program was ended\n";
  EXPECT_THAT(output, HasSubstr("stubborn\n"));
  EXPECT_THAT(output, AnyOf(EndsWith(ended + "status 129\n"),    // at once
                            EndsWith(ended + "status 143\n")));  // the machine was slow
}

}  // namespace
