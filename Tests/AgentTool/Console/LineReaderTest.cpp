#include "AgentTool/Console/LineReader.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Tests/Fakes/TemporaryDirectory.h"

namespace {

/// Each line with its number, followed by "…" if it was too long.
std::vector<std::string> linesOf(const std::string& text, std::size_t longest) {
  const TemporaryDirectory directory;
  agent_tool::LineReader reader(directory.write("lines", text), longest);
  std::vector<std::string> lines;
  while (const auto line = reader.next()) {
    lines.push_back(std::to_string(line->number) + " " + std::string(line->text) +
                    (line->isTooLong ? "…" : ""));
  }
  EXPECT_EQ(reader.bytesRead(), text.size());
  return lines;
}

TEST(LineReaderTest, SkipsBlankLinesAndDoesNotNeedTheLastLineFeed) {
  using testing::ElementsAre;
  EXPECT_THAT(linesOf("", 9), ElementsAre());
  EXPECT_THAT(linesOf("a\n\nb", 9), ElementsAre("1 a", "3 b"));
  EXPECT_THAT(linesOf("\n \t\r\n", 9), ElementsAre());
}

TEST(LineReaderTest, SkipsLongLinesInBoundedMemory) {
  using testing::ElementsAre;
  EXPECT_THAT(linesOf("123456789\n1234567890\nc\n", 9),
              ElementsAre("1 123456789", "2 123456789…", "3 c"));
  const std::string large(3'000'000, 'x');  // many times the buffer
  EXPECT_THAT(linesOf(large + "\nc\n" + large, 3), ElementsAre("1 xxx…", "2 c", "3 xxx…"));
  // A line that crosses a block boundary.
  EXPECT_THAT(linesOf(std::string(262'140, 'y') + "\nabcdefgh\n", 300'000),
              ElementsAre("1 " + std::string(262'140, 'y'), "2 abcdefgh"));
}

}  // namespace
