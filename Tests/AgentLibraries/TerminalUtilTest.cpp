#include "AgentLibraries/vxutils/TerminalUtil.h"

#include <gmock/gmock.h>

#include "Tests/Fakes/LogCapture.h"

namespace vxutils {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::int64_t kTwoHours = 7200;

class TerminalUtilTest : public ::testing::Test {
 protected:
  TerminalUtil& terminal = TerminalUtil::defaultInstance();
  LogCapture log;
};

TEST_F(TerminalUtilTest, TheOutputIsLoggedAsAskedAndNeitherInputNorCommand) {
  const std::string command = "wc -c; : hidden; pwd >&2; exit 3";
  const CommandResult result{.exitCode = 3, .output = "13\n/usr\n"};
  for (const bool logs : {false, true}) {
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_EQ(terminal.runCommand(command, "/usr", {}, "a secret\nword", kTwoHours, logs, logs),
              result);
  }
  EXPECT_THAT(log.records(), ElementsAre(InfoLine("13"), InfoLine("/usr"), InfoLine("13\n/usr\n")));
}

TEST_F(TerminalUtilTest, WhatHasNotRunToItsEndHasNotSucceededAndTheLogSaysWhy) {
  const std::string command = "trap 'exit 0' TERM; while :; do sleep 0.05; done";
  EXPECT_EQ(terminal.runCommand(command, {}, {}, {}, 1, false, false).exitCode, 143);
  EXPECT_THAT(terminal.executeTaskForString("/no/such/tool", {}), Pair(127, ""));
  EXPECT_THAT(log.records(),
              ElementsAre(ErrorLine("The command was ended after 1 seconds."),
                          ErrorLine("Could not start /no/such/tool: No such file or directory.")));
}

}  // namespace
}  // namespace vxutils
