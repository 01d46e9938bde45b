#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

#include <gmock/gmock.h>

#include <string>

#include "Tests/Fakes/ExamplePatchActions.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(PatchActionJSONParserTest, CachesTheOutcomeAndLogsAnErrorOnce) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("mac-patch-actions.json");
  PatchActionJSONParser parser(path);
  const LogCapture log;
  const auto& first = parser.cachedPatchActionGroup();
  ASSERT_FALSE(first);
  EXPECT_THAT(first.error().what(), AllOf(StartsWith(path), HasSubstr("No such file")));
  directory.write("mac-patch-actions.json", kExamplePatchActions);
  EXPECT_FALSE(parser.cachedPatchActionGroup());
  EXPECT_EQ(first.error().details().file, path);
  EXPECT_THAT(first.error().details().found, HasSubstr("No such file"));
  PatchActionJSONParser other(path);
  const auto group = other.cachedPatchActionGroup().value();
  directory.write("mac-patch-actions.json", "no JSON");
  EXPECT_EQ(other.cachedPatchActionGroup().value(), group);
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(ErrorLine("Unable to parse " + path + ". Error: " + first.error().what() + "."),
                LoggedBy("PatchActions/Helpers/PatchActionJSONParser", "cachedPatchActionGroup"))));
}

}  // namespace
}  // namespace vexlo
