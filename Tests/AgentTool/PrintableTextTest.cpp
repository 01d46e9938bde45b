#include "AgentTool/PrintableText.h"

#include <gmock/gmock.h>

#include <string>

using agent_tool::displayWidth;
using agent_tool::printable;
using agent_tool::wrapped;
using testing::ElementsAre;

namespace {

TEST(PrintableTextTest, WhatCouldSteerATerminalIsEscaped) {
  EXPECT_EQ(printable("a\x1b[2J\r\n\t\x7f\u009b\u202e\u2028é字\U0001F600"),
            "a\\u001b[2J\\r\\n\\t\\u007f\\u009b\\u202e\\u2028é字\U0001F600");
  EXPECT_EQ(printable("\xff\xc3(\xed\xa0\x80"), "\\xff\\xc3(\\xed\\xa0\\x80");
  EXPECT_EQ(printable(std::string(1, '\0')), "\\u0000");
}

TEST(PrintableTextTest, LinesBreakByColumnsAfterBlanksAndElseWhereTheyMust) {
  EXPECT_EQ(displayWidth("Größe e\u0301字\U0001F600"), 11U);
  EXPECT_THAT(wrapped("one, two, three", 9), ElementsAre("one, two,", "three"));
  EXPECT_THAT(wrapped("abcdefg hi", 3), ElementsAre("abc", "def", "g", "hi"));
  EXPECT_THAT(wrapped("字字字", 5), ElementsAre("字字", "字"));
  EXPECT_THAT(wrapped("ab", 0), ElementsAre("a", "b"));
}

}  // namespace
