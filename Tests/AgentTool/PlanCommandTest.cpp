#include <gmock/gmock.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::IsEmpty;

namespace {

class PlanCommandTest : public AgentToolTest {};

TEST_F(PlanCommandTest, IsOneJSONObject) {
  writeActions(R"({
    "ProductServicePackActions": {"2": {"3": {"2003": [], "2005": ["20"]}}},
    "PatchActions": {"1": {"2005": ["40", "x"], "3001": []}}})");
  const ToolRun run = shell("vexlo-patch plan $patch --json");
  EXPECT_EQ(
      run.output,
      R"({"patch":{"patchID":"1","productID":"2","servicePackID":"3"},"exempt":false,"actions":[)"
      R"({"actionID":{"userLoggedInCheck":{}},"name":"userLoggedInCheck","code":"2003",)"
      R"("sortOrder":2003,"arguments":[],"origin":"product"},)"
      R"({"actionID":{"minimumDiskSpaceCheck":{}},"name":"minimumDiskSpaceCheck","code":"2005",)"
      R"("sortOrder":2005,"arguments":["40","x"],"origin":"patch"},)"
      R"j({"actionID":{"undefined":{"_0":"3001"}},"name":"undefined(\"3001\")","code":"3001",)j"
      R"("sortOrder":3001,"arguments":[],"origin":"patch"}]})"
      "\n");
  EXPECT_THAT(run.errors, IsEmpty());
  EXPECT_EQ(run.status, 0);
}

TEST_F(PlanCommandTest, TheTableIsAlignedAndCannotSteerATerminal) {
  writeActions(R"({"PatchActions":{"1":{"2005":["40"],"x\u001b[2J":["","a b","\u0007\u202e"]}}})");
  EXPECT_EQ(shell("vexlo-patch plan $patch").output,
            "Patch 1 of product 2, service pack 3\n"
            "The file has no actions for this product and service pack; only the patch's own "
            "apply.\n"
            "\n"
            "#  CODE        ACTION                   FROM   ARGUMENTS\n"
            "1  2005        minimumDiskSpaceCheck    patch  40\n"
            "2  x\\u001b[2J  undefined(\"x\\u001b[2J\")  patch  \"\", \"a b\", \\u0007\\u202e\n");
}

TEST_F(PlanCommandTest, AnExemptPatchIsNoted) {
  writeActions(
      R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1"],"2":{"3":{"2003":[]}}}})");
  EXPECT_EQ(shell("vexlo-patch plan $patch").output,
            "Patch 1 of product 2, service pack 3\n"
            "The patch is exempt from the actions of its product; only its own apply.\n"
            "No action applies.\n");
  EXPECT_EQ(
      shell("vexlo-patch plan $patch --json").output,
      R"({"patch":{"patchID":"1","productID":"2","servicePackID":"3"},"exempt":true,"actions":[]})"
      "\n");
}

TEST_F(PlanCommandTest, AnUnusableFileEndsEveryCommandWithOneLine) {
  const std::string file = writeActions(R"({"PatchActions":{"\u001b[1m":null}})");
  for (const std::string& command :
       {std::string("plan $patch"), std::string("run $patch"), "check " + file}) {
    const ToolRun run = shell("vexlo-patch " + command);
    EXPECT_EQ(run.errors, "vexlo-patch: " + file +
                              ": PatchActions › \\u001b[1m: expected an object, found null\n");
    EXPECT_THAT(run.output, IsEmpty());
    EXPECT_EQ(run.status, 65);
  }
}

}  // namespace
