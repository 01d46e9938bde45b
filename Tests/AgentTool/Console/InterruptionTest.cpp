#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::EndsWith;
using testing::MatchesRegex;

namespace {

/// Interrupts the tool while it runs a program that doesn't exit on its own.
class InterruptionTest : public AgentToolTest {};

TEST_F(InterruptionTest, KillsTheRunningProgramAndPrintsNoResult) {
  // The program writes "started" to a FIFO. The reader sees end of file when the program and its
  // children have exited.
  ::mkfifo(root.file("fifo").c_str(), 0600);
  writeActions(R"({"PatchActions":{"1":{"2010":[")" + root.file("I.app") + R"("],"3001":[]}}})");
  for (const auto& [trap, interrupt, output] : std::initializer_list<std::array<std::string, 3>>{
           {"", "kill -TERM $tool", "status 143\n"},
           // A program that survives SIGTERM is killed by the second signal, after another SIGTERM,
           // or, on a slow machine, after the grace period.
           {"trap 'trap \"\" TERM; echo stubborn >&3' TERM\n",
            "kill -TERM $tool; read -r word <&4; echo $word; kill -HUP $tool",
            "stubborn\nstatus 1(29|43)\n"}}) {
    SCOPED_TRACE(interrupt);
    const std::string program =
        root.write("I.app/Contents/Resources/startosinstall",
                   std::string("#!/bin/sh\nexec 3> \"${0%/I.app/*}/fifo\"\n")
                       .append(trap)
                       .append("echo started >&3\nwhile :; do sleep 0.1; done\n"));
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    const ToolRun run =
        shell(R"(vexlo-patch run $patch --machine intel --json --keep-going & tool=$!
          exec 4< fifo; read -r word <&4; )" +
              interrupt + R"(; wait $tool 2>/dev/null; echo "status $?"
          perl -e 'alarm 20; exec @ARGV' cat <&4 || echo "left behind")");
    EXPECT_THAT(run.errors,
                EndsWith("vexlo-patch: interrupted; the running program was stopped\n"));
    EXPECT_THAT(run.output, MatchesRegex(output));
  }
}

}  // namespace
