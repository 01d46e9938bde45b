#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AnyOf;
using testing::EndsWith;

namespace {

constexpr const char* kEnded = "vexlo-patch: interrupted; the running program was ended\n";

/// The tool while it runs a program that does not end by itself.
class InterruptionTest : public AgentToolTest {
 protected:
  /// The installer runs `trap` and says "started" into the FIFO, which it and its children hold
  /// open: the reader's end of file is theirs. Then `interrupt` runs, a shell text in which $tool
  /// is the tool. Adds "status N" to the tool's output, and "left behind" if so.
  ToolRun interrupted(const std::string& trap, const std::string& interrupt) {
    ::mkfifo(root.file("fifo").c_str(), 0600);
    const std::string app = writeInstaller("exec 3> '" + root.file("fifo") + "'\n" + trap +
                                           "\necho started >&3\nwhile :; do sleep 0.1; done\n");
    writeActions(R"({"PatchActions":{"1":{"2010":[")" + app + R"("],"3001":[]}}})");
    return shell(R"(vexlo-patch run $patch --machine intel --json --keep-going & tool=$!
      exec 4< fifo; read -r word <&4; )" +
                 interrupt + R"(; wait $tool 2>/dev/null; echo "status $?"
      timeout 20 cat <&4 || echo "left behind")");
  }
};

TEST_F(InterruptionTest, EndsTheRunningProgramAndTellsNoResult) {
  const ToolRun run = interrupted("", "kill -TERM $tool");
  EXPECT_THAT(run.errors, EndsWith(kEnded));
  EXPECT_EQ(run.output, "status 143\n");
}

TEST_F(InterruptionTest, AStubbornProgramIsEndedByASecondSignalOrAfterTheGrace) {
  const ToolRun run =
      interrupted("trap 'echo stubborn >&3' TERM",
                  "kill -TERM $tool; read -r word <&4; echo $word; kill -HUP $tool");
  EXPECT_THAT(run.errors, EndsWith(kEnded));
  EXPECT_THAT(run.output, AnyOf("stubborn\nstatus 129\n",    // at once
                                "stubborn\nstatus 143\n"));  // the machine was slow
}

}  // namespace
