#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "Platform/Descriptor.h"
#include "Tests/AgentTool/AgentToolFixture.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/// The tool's standard output is a terminal of 60 columns.
class TerminalTest : public AgentToolTest {
 protected:
  TerminalTest() : terminal_(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK)) {
    ::grantpt(terminal_.get());
    ::unlockpt(terminal_.get());
    const winsize size{.ws_row = 24, .ws_col = 60, .ws_xpixel = 0, .ws_ypixel = 0};
    ::ioctl(terminal_.get(), TIOCSWINSZ, &size);
    outputFile = ::ptsname(terminal_.get());
    // Keeps what the tool wrote from being dropped with the terminal's last user.
    kept_ = platform::Descriptor(::open(outputFile.c_str(), O_RDWR | O_NOCTTY));
    writeActions(
        R"({"PatchActions":{"1":{"2003":[],"2008":["com.apple.Safari","com.apple.Mail"]}}})");
  }

  /// What `plan` shows, its lines ended as terminals do.
  std::string shownPlan(const std::vector<std::string>& environment) {
    const ToolRun run = tool({"plan", "--patch", "1", "--product", "2", "--service-pack", "3",
                              "--agent-root", root.path()},
                             environment);
    EXPECT_EQ(run.status, 0);
    std::array<char, 4096> shown{};
    const ssize_t count = ::read(terminal_.get(), shown.data(), shown.size());
    return {shown.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }

 private:
  platform::Descriptor terminal_;
  platform::Descriptor kept_;
};

TEST_F(TerminalTest, ATerminalGetsColoursAndATableThatFits) {
  const std::string shown = shownPlan({"TERM=xterm", "NO_COLOR="});
  EXPECT_THAT(shown, HasSubstr("\x1b[1mCODE\x1b[0m"));
  EXPECT_THAT(shown, HasSubstr("1  2003  userLoggedInCheck        patch  \x1b[2m-\x1b[0m\r\n"
                               "2  2008  applicationRunningCheck  patch  com.apple.Safari,\r\n"
                               "                                         com.apple.Mail\r\n"));
}

TEST_F(TerminalTest, NoColourWhereNoneIsWanted) {
  EXPECT_THAT(shownPlan({"TERM=xterm", "NO_COLOR=1"}), Not(HasSubstr("\x1b")));
  EXPECT_THAT(shownPlan({"TERM=dumb", "NO_COLOR="}), Not(HasSubstr("\x1b")));
}

}  // namespace
