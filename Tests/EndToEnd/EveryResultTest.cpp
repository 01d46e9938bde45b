// Checks that the tables in this folder cover every documented result, and `why` for every action.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "Tests/EndToEnd/MacRun.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace end_to_end {
namespace {

/// «2005 applyLater inSufficientArguments» for "applyLater(inSufficientArguments)".
std::string expectedResult(std::string_view code, std::string_view result) {
  std::string text = std::string(code) + ' ' + std::string(result);
  std::ranges::replace(text, '(', ' ');
  std::erase(text, ')');
  return text;
}

TEST(EveryResultTest, HasARow) {
  Texts expected;
  MacTests::forEach([&](const MacTest& test) { expected = expected + test.results; });
  for (const vexlo::KnownActionRow& action : vexlo::knownActions()) {
    for (const vexlo::DocumentedResult& each : action.results) {
      const std::string result = expectedResult(action.code, each.result);
      EXPECT_TRUE(std::ranges::any_of(expected,
                                      [&](const std::string& text) {
                                        return text == result || text.starts_with(result + ' ');
                                      }))
          << action.name << " has no row with the result " << result;
    }
  }
}

TEST(EveryResultTest, EveryActionHasWhy) {
  for (const vexlo::KnownActionRow& action : vexlo::knownActions()) {
    bool isExpected = false;
    MacTests::forEach([&](const MacTest& test) {
      isExpected =
          isExpected ||
          (!test.why.empty() && std::ranges::any_of(test.results, [&](const std::string& result) {
            return result.starts_with(action.code) && !result.ends_with(" inSufficientArguments");
          }));
    });
    EXPECT_TRUE(isExpected) << action.name << " has no row with `why` and usable arguments";
  }
}

}  // namespace
}  // namespace end_to_end
