#include "AgentLibraries/vxutils/AgentServiceMessages.h"

#include <gmock/gmock.h>

#include <string_view>

namespace vxutils {
namespace {

TEST(AgentServiceMessagesTest, SplitsLinesAndWipesTheirBytes) {
  LineBuffer buffer;
  for (const char c : std::string_view("two\ntwo\n")) {
    buffer.room().front() = c;
    buffer.add(1);
    EXPECT_EQ(buffer.nextLine().value_or("none yet"), c != '\n' ? "none yet" : "two");
  }
  EXPECT_THAT(buffer.room(), ::testing::Each('\0'));
}

}  // namespace
}  // namespace vxutils
