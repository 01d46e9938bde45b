#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionJSONParser.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "Tests/Fakes/ExamplePatchActions.h"
#include "Tests/Fakes/LogCapture.h"
#include "Tests/Fakes/TemporaryDirectory.h"

namespace vexlo {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class PatchActionJSONParserTest : public ::testing::Test {
 protected:
  void write(std::string_view text) const { std::ofstream(path) << text; }

  /// The error of a first reading of `where`.
  static std::string errorOf(const std::string& where) {
    PatchActionJSONParser parser(where);
    const auto& outcome = parser.cachedPatchActionGroup();
    return outcome ? "decoded" : outcome.error().what();
  }

  TemporaryDirectory directory;
  std::string path = directory.file("mac-patch-actions.json");
  LogCapture log;
};

TEST_F(PatchActionJSONParserTest, TheFirstDecodedFileIsKept) {
  write(kExamplePatchActions);
  PatchActionJSONParser parser(path);
  const auto& first = parser.cachedPatchActionGroup();
  ASSERT_TRUE(first);
  write("no JSON");
  EXPECT_EQ(parser.cachedPatchActionGroup()->get(), first->get());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(PatchActionJSONParserTest, TheFirstErrorIsKeptAndLoggedOnce) {
  PatchActionJSONParser parser(path);
  const auto& first = parser.cachedPatchActionGroup();
  ASSERT_FALSE(first);
  EXPECT_THAT(first.error().what(), AllOf(StartsWith(path), HasSubstr("No such file")));
  write(kExamplePatchActions);
  EXPECT_FALSE(parser.cachedPatchActionGroup());
  EXPECT_THAT(
      log.records(),
      ElementsAre(
          AllOf(ErrorLine("Unable to parse " + path + ". Error: " + first.error().what() + "."),
                LoggedBy("PatchActions/Helpers/PatchActionJSONParser", "cachedPatchActionGroup"))));
}

TEST_F(PatchActionJSONParserTest, WhatIsNoRegularFileIsAnErrorAtOnce) {
  EXPECT_THAT(errorOf(directory.path()), StartsWith(directory.path()));
  EXPECT_THAT(errorOf("/dev/zero"), StartsWith("/dev/zero"));
  const std::string fifo = directory.file("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_THAT(errorOf(fifo), StartsWith(fifo));
  write("");
  EXPECT_THAT(errorOf(path), HasSubstr("line 1, column 1"));
  EXPECT_THAT(log.records(), SizeIs(4));
}

}  // namespace
}  // namespace vexlo
