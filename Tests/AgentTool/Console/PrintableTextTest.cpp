#include "AgentTool/Console/PrintableText.h"

#include <gmock/gmock.h>

using agent_tool::wrapped;
using testing::ElementsAre;

namespace {

TEST(PrintableTextTest, WrapsAtTheLastBlankThatFits) {
  EXPECT_THAT(wrapped("", 5), ElementsAre(""));
  EXPECT_THAT(wrapped("ab cd ef", 5), ElementsAre("ab cd", "ef"));
  EXPECT_THAT(wrapped("abcdef gh", 4), ElementsAre("abcd", "ef", "gh"));
  EXPECT_THAT(wrapped("界界 é", 4), ElementsAre("界界", "é"));  // two columns each
  EXPECT_THAT(wrapped("界x", 1), ElementsAre("界", "x"));
  EXPECT_THAT(wrapped("\uFF60\uFF61", 2), ElementsAre("\uFF60", "\uFF61"));  // the last wide one
}

}  // namespace
