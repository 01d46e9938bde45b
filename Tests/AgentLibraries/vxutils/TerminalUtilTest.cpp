#include "AgentLibraries/vxutils/TerminalUtil.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include "AgentLibraries/LogCore/Text.h"
#include "Platform/PrintableText.h"
#include "Tests/Fakes/LogCapture.h"

namespace vxutils {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t kTwoHours = 7200;

class TerminalUtilTest : public ::testing::Test {
 protected:
  TerminalUtil& terminal = TerminalUtil::defaultInstance();
  LogCapture log;
};

TEST_F(TerminalUtilTest, LogsRequestedOutputButNeverInputOrCommand) {
  const std::string command = "wc -c | tr -d ' '; : hidden; pwd >&2; exit 3";
  const CommandResult result{.exitCode = 3, .output = "13\n/usr\n"};
  for (const bool logs : {false, true}) {
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_EQ(terminal.runCommand(command, "/usr", {}, "a secret\nword", kTwoHours, logs, logs),
              result);
  }
  EXPECT_THAT(log.records(), ElementsAre(InfoLine("13"), InfoLine("/usr"), InfoLine("13\n/usr\n")));
}

TEST_F(TerminalUtilTest, LogsTimeoutsAndStartFailures) {
  const std::string command = "trap 'exit 0' TERM; while :; do sleep 0.05; done";
  EXPECT_EQ(terminal.runCommand(command, {}, {}, {}, 1, false, false).exitCode, 143);
  EXPECT_EQ(terminal.executeTaskForString("/no/such/tool", {}),
            (CommandResult{.exitCode = 127, .output = {}}));
  (void)terminal.runCommand("true", "/no/such", {}, {}, kTwoHours, true, false);
  EXPECT_THAT(
      log.records(),
      ElementsAre(ErrorLine("The command was ended after 1 seconds."),
                  ErrorLine("Could not start /no/such/tool: No such file or directory."),
                  ErrorLine("Could not start /bin/sh in /no/such: No such file or directory.")));
}

TEST_F(TerminalUtilTest, RetriesTransientStartFailures) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the checks need descriptors of their own";
#endif
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  int pauses = 0;
  TerminalUtil patient([&](auto) {
    if (++pauses == 2) {
      setrlimit(RLIMIT_NOFILE, &limit);
    }
  });
  EXPECT_EQ(patient.executeTaskForString("/bin/echo", {"done"}),
            (CommandResult{.exitCode = 0, .output = "done\n"}));
  EXPECT_EQ(pauses, 2);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(TerminalUtilTest, LimitsLoggedOutput) {
  const std::string command = "yes $(printf %01000d 0) | head -n 5000";
  (void)terminal.runCommand(command, {}, {}, {}, kTwoHours, true, false);
  EXPECT_EQ(log.records().back().message,
            "1360 more lines of the command's output were not logged.");
  log.clear();
  for (const char* const piece : {"", "\\033"}) {  // what a line has besides its text counts, too
    (void)terminal.runCommand(LogCore::text("yes $(printf '", piece, "') | head -n 100000"), {}, {},
                              {}, kTwoHours, true, false);
    std::size_t written = 0;
    for (const LogRecord& record : log.records()) {
      written += LogCore::text(record.file, record.function).size() + 35 +
                 platform::printable(record.message).size();
    }
    EXPECT_LT(written, std::size_t{4} << 20);
    EXPECT_GT(written, std::size_t{3} << 20);
    log.clear();
  }
}

}  // namespace
}  // namespace vxutils
