#include "VexloPatchDeployment/Common/ShellQuoting.h"

#include <gtest/gtest.h>

#include <string>

#include "Tests/Fakes/LogCapture.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

namespace vexlo {
namespace {

TEST(ShellQuotingTest, ProgramReceivesTheStringUnchanged) {
  const LogCapture log;  // the terminal utility writes every line of output
  for (const std::string text : {R"(a"b)", "$(echo x)", "`echo x`", "$HOME", R"(\\"$`)", "a\nb",
                                 "'$(echo x)'", "*", "~", "#x", "a;b", "a b", "!", ""}) {
    for (const std::string& word : {'"' + insideDoubleQuotes(text) + '"', shellWord(text)}) {
      SCOPED_TRACE(word);
      EXPECT_EQ(TerminalUtil::defaultInstance()
                    .run("printf '[%s]' " + word, "/bin/sh", std::nullopt)
                    .output,
                '[' + text + ']');
    }
  }
}

}  // namespace
}  // namespace vexlo
