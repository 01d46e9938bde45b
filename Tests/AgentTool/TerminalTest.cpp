#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "Platform/Descriptor.h"
#include "Tests/AgentTool/AgentToolFixture.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class TerminalTest : public AgentToolTest {
 protected:
  /// What `plan` shows on a terminal of 60 columns, its lines ended as terminals do.
  std::string shownPlan(const std::string& environment) {
    writeActions(
        R"({"PatchActions":{"1":{"2003":[],"2008":["com.apple.Safari","com.apple.Mail"]}}})");
    const platform::Descriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK));
    ::grantpt(terminal.get());
    ::unlockpt(terminal.get());
    const winsize size{.ws_row = 24, .ws_col = 60, .ws_xpixel = 0, .ws_ypixel = 0};
    ::ioctl(terminal.get(), TIOCSWINSZ, &size);
    const std::string path = ::ptsname(terminal.get());
    // Keeps what the tool wrote from being dropped with the terminal's last user.
    const platform::Descriptor kept(::open(path.c_str(), O_RDWR | O_NOCTTY));
    EXPECT_EQ(shell(environment + " vexlo-patch plan $patch > " + path).status, 0);
    std::array<char, 4096> shown{};
    const ssize_t count = ::read(terminal.get(), shown.data(), shown.size());
    return {shown.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }
};

TEST_F(TerminalTest, ATerminalGetsColoursAndATableThatFits) {
  const std::string shown = shownPlan("TERM=xterm NO_COLOR=");
  EXPECT_THAT(shown, HasSubstr("\x1b[1mCODE\x1b[0m"));
  EXPECT_THAT(shown, HasSubstr("1  2003  userLoggedInCheck        patch  \x1b[2m-\x1b[0m\r\n"
                               "2  2008  applicationRunningCheck  patch  com.apple.Safari,\r\n"
                               "                                         com.apple.Mail\r\n"));
}

TEST_F(TerminalTest, NoColourWhereNoneIsWanted) {
  for (const char* environment : {"TERM=xterm NO_COLOR=1", "TERM=dumb NO_COLOR="}) {
    EXPECT_THAT(shownPlan(environment), AllOf(HasSubstr("CODE"), Not(HasSubstr("\x1b"))));
  }
}

}  // namespace
