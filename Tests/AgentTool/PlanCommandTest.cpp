#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* kExample = R"({
  "ProductServicePackActions": {
    "ExclusionPatchIDs": ["310872"],
    "1201": {
      "2301": { "2001": ["30"], "2002": ["30"], "2003": [], "2005": ["20"] },
      "2302": {}
    }
  },
  "PatchActions": {
    "310872": { "2005": ["25"], "2008": ["com.apple.Safari", "com.apple.Preview"] },
    "310990": { "2005": ["40"], "3001": ["x"] }
  }
})";

struct PlanCase {
  const char* name;
  const char* patch;
  const char* product;
  const char* servicePack;
  const char* exempt;
  const char* actions;  // as in the answer
};

class PlanCommandTest : public AgentToolTest {};
class PlannedPatchTest : public AgentToolTest, public testing::WithParamInterface<PlanCase> {};

TEST_P(PlannedPatchTest, IsOneJSONObject) {
  writeActions(kExample);
  const PlanCase& row = GetParam();
  const ToolRun run =
      tool({"plan", "--patch", row.patch, "--product", row.product, "--service-pack",
            row.servicePack, "--agent-root", root.path(), "--json"});
  EXPECT_EQ(run.output, std::string(R"({"patch":{"patchID":")") + row.patch + R"(","productID":")" +
                            row.product + R"(","servicePackID":")" + row.servicePack +
                            R"("},"exempt":)" + row.exempt + R"(,"actions":[)" + row.actions +
                            "]}\n");
  EXPECT_THAT(run.errors, IsEmpty());
  EXPECT_EQ(run.status, 0);
}

constexpr const char* kDisk40AndUndefined =
    R"json({"actionID":{"minimumDiskSpaceCheck":{}},"name":"minimumDiskSpaceCheck","code":"2005","sortOrder":2005,"arguments":["40"],"origin":"patch"},)json"
    R"json({"actionID":{"undefined":{"_0":"3001"}},"name":"undefined(\"3001\")","code":"3001","sortOrder":3001,"arguments":["x"],"origin":"patch"})json";
const std::string kMerged =
    std::string(
        R"({"actionID":{"siliconBatteryPercentageCheck":{}},"name":"siliconBatteryPercentageCheck","code":"2001","sortOrder":2001,"arguments":["30"],"origin":"product"},)"
        R"({"actionID":{"intelBatteryPercentageCheck":{}},"name":"intelBatteryPercentageCheck","code":"2002","sortOrder":2002,"arguments":["30"],"origin":"product"},)"
        R"({"actionID":{"userLoggedInCheck":{}},"name":"userLoggedInCheck","code":"2003","sortOrder":2003,"arguments":[],"origin":"product"},)") +
    kDisk40AndUndefined;

INSTANTIATE_TEST_SUITE_P(
    Example, PlannedPatchTest,
    testing::Values(
        PlanCase{"Merged", "310990", "1201", "2301", "false", kMerged.c_str()},
        PlanCase{
            "Exempt", "310872", "1201", "2301", "true",
            R"({"actionID":{"minimumDiskSpaceCheck":{}},"name":"minimumDiskSpaceCheck","code":"2005","sortOrder":2005,"arguments":["25"],"origin":"patch"},)"
            R"({"actionID":{"applicationRunningCheck":{}},"name":"applicationRunningCheck","code":"2008","sortOrder":2008,"arguments":["com.apple.Safari","com.apple.Preview"],"origin":"patch"})"},
        PlanCase{"UnknownServicePack", "310990", "1201", "9999", "false", kDisk40AndUndefined},
        PlanCase{"EmptyServicePack", "400000", "1201", "2302", "false", ""},
        PlanCase{"UnknownProduct", "400001", "5000", "1", "false", ""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(PlanCommandTest, TheTableIsAlignedAndCannotSteerATerminal) {
  writeActions(R"({"PatchActions":{"1":{"2005":["40"],"x\u001b[2J":["","a b","\u0007\u202e"]}}})");
  const ToolRun run = toolForPatch("plan");
  EXPECT_EQ(run.output,
            "Patch 1 of product 2, service pack 3\n"
            "The file has no actions for this product and service pack; only the patch's own "
            "apply.\n"
            "\n"
            "#  CODE        ACTION                   FROM   ARGUMENTS\n"
            "1  2005        minimumDiskSpaceCheck    patch  40\n"
            "2  x\\u001b[2J  undefined(\"x\\u001b[2J\")  patch  \"\", \"a b\", \\u0007\\u202e\n");
  EXPECT_EQ(run.status, 0);
}

TEST_F(PlanCommandTest, AnExemptPatchIsNoted) {
  writeActions(
      R"({"ProductServicePackActions":{"ExclusionPatchIDs":["1"],"2":{"3":{"2003":[]}}}})");
  EXPECT_EQ(toolForPatch("plan").output,
            "Patch 1 of product 2, service pack 3\n"
            "The patch is exempt from the actions of its product; only its own apply.\n"
            "No action applies.\n");
}

struct UnusableCase {
  const char* name;
  const char* json;
  const char* complaint;  // after "vexlo-patch: <file>: "
};
class UnusableFileTest : public AgentToolTest, public testing::WithParamInterface<UnusableCase> {};

TEST_P(UnusableFileTest, EndsEveryCommandWithOneLine) {
  const std::string file = writeActions(GetParam().json);
  const std::string line = "vexlo-patch: " + file + ": " + GetParam().complaint + "\n";
  for (const ToolRun& run : {toolForPatch("plan"), toolForPatch("run"), tool({"check", file})}) {
    EXPECT_EQ(run.errors, line);
    EXPECT_THAT(run.output, IsEmpty());
    EXPECT_EQ(run.status, 65);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Files, UnusableFileTest,
    testing::Values(
        UnusableCase{"WrongType", R"({"PatchActions":{"1":{"2005":["1",true]}}})",
                     "PatchActions › 1 › 2005 › [1]: expected a string, found a Boolean"},
        UnusableCase{"SyntaxError", "{\n  \"PatchActions\" {}\n}",
                     "line 2, column 18: expected \":\" after the member name, found \"{\""},
        UnusableCase{"ControlCharacters", R"({"PatchActions":{"\u001b[1m":null}})",
                     "PatchActions › \\u001b[1m: expected an object, found null"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(PlanCommandTest, AMissingFileIsToldOnceAndLoggedToTheLogFile) {
  const ToolRun run = toolForPatch("run", {"--log-file", root.file("log")});
  const std::string missing = root.file(kActionFile) +
                              ": expected a readable regular file of at most 1 GiB, found No such "
                              "file or directory";
  EXPECT_EQ(run.errors, "vexlo-patch: " + missing + "\n");
  EXPECT_EQ(run.status, 65);
  EXPECT_THAT(root.read("log"), HasSubstr("Unable to parse "));
  EXPECT_THAT(
      root.read("log"),
      HasSubstr("Unable to evaluate patch actions for patchID: 1. Error: " + missing + ".\n"));
}

}  // namespace
