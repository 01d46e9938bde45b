// Checks that the tables in this folder cover every documented result, and `why` for every action.
#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "Tests/EndToEnd/MacRun.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace end_to_end {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::EndsWith;
using testing::Not;
using testing::StartsWith;

/// «2005 applyLater inSufficientArguments» for "applyLater(inSufficientArguments)".
std::string expectedResult(std::string_view code, std::string_view result) {
  std::string text = std::string(code) + ' ' + std::string(result);
  std::ranges::replace(text, '(', ' ');
  std::erase(text, ')');
  return text;
}

TEST(EveryResultTest, HasARowAndEveryActionHasWhy) {
  Texts results;
  Texts explained;
  MacTests::forEach([&](const MacTest& test) {
    results = results + test.results;
    explained = explained + (test.why.empty() ? Texts() : test.results);
  });
  for (const vexlo::KnownActionRow& action : vexlo::knownActions()) {
    for (const vexlo::DocumentedResult& each : action.results) {
      const std::string expected = expectedResult(action.code, each.result);
      EXPECT_THAT(results, Contains(AnyOf(expected, StartsWith(expected + ' '))));
    }
    EXPECT_THAT(explained, Contains(AllOf(StartsWith(std::string(action.code)),
                                          Not(EndsWith(" inSufficientArguments")))));
  }
}

}  // namespace
}  // namespace end_to_end
