#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

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

class PatchActionJSONParserTest : public ::testing::Test {
 protected:
  TemporaryDirectory directory;
  std::string path = directory.file("mac-patch-actions.json");
  PatchActionJSONParser parser{path};
  LogCapture log;
};

TEST_F(PatchActionJSONParserTest, TheFirstDecodedFileIsKept) {
  directory.write("mac-patch-actions.json", kExamplePatchActions);
  const auto& first = parser.cachedPatchActionGroup();
  ASSERT_TRUE(first);
  directory.write("mac-patch-actions.json", "no JSON");
  EXPECT_EQ(parser.cachedPatchActionGroup()->get(), first->get());
}

TEST_F(PatchActionJSONParserTest, TheFirstErrorIsKeptAndLoggedOnce) {
  const auto& first = parser.cachedPatchActionGroup();
  ASSERT_FALSE(first);
  EXPECT_THAT(first.error().what(), AllOf(StartsWith(path), HasSubstr("No such file")));
  directory.write("mac-patch-actions.json", kExamplePatchActions);
  EXPECT_FALSE(parser.cachedPatchActionGroup());
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(ErrorLine("Unable to parse " + path + ". Error: " + first.error().what() + "."),
                LoggedBy("PatchActions/Helpers/PatchActionJSONParser", "cachedPatchActionGroup"))));
}

TEST_F(PatchActionJSONParserTest, WhatIsNoRegularFileIsAnErrorAtOnce) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ASSERT_FALSE(parser.cachedPatchActionGroup());
  EXPECT_THAT(parser.cachedPatchActionGroup().error().what(), StartsWith(path));
}

}  // namespace
}  // namespace vexlo
