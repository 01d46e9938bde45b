#include "VexloPatchDeployment/Common/ShellQuoting.h"

#include <gtest/gtest.h>

#include <string>

#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

namespace vexlo {
namespace {

/// What a program receives of an argument that is written as `word` in a shell command.
std::string received(const std::string& word) {
  const LogCapture log;  // the terminal utility writes every line of output
  return TerminalUtil::defaultInstance()
      .run("printf '[%s]' " + word, "/bin/sh", std::nullopt)
      .output;
}

TEST(ShellQuotingTest, OrdinaryTextsStayAsTheyAre) {
  EXPECT_EQ(insideDoubleQuotes("Safari, Müller's App (2) <&;>"), "Safari, Müller's App (2) <&;>");
  EXPECT_EQ(shellWord("jane.doe_2@example.com"), "jane.doe_2@example.com");
}

TEST(ShellQuotingTest, TheProgramReceivesTheTextItself) {
  for (const std::string text :
       {R"(a"b)", "$(echo x)", "`echo x`", "$HOME", R"(\)", R"(\\"$`)", "a\nb", "'", "'$(echo x)'",
        "*", "~", "#x", "a;b", "a b", "!", ""}) {
    EXPECT_EQ(received('"' + insideDoubleQuotes(text) + '"'), '[' + text + ']');
    EXPECT_EQ(received(shellWord(text)), '[' + text + ']');
  }
}

}  // namespace
}  // namespace vexlo
