#include <gmock/gmock.h>

#include <string>

#include "Tests/AgentTool/AgentToolFixture.h"

using testing::StartsWith;

namespace {

constexpr const char* kFacts =
    R"({"version":1,"appleSilicon":false,"macOSMajorVersion":14,"consoleUser":"alice",)"
    R"("powerSource":{"kind":"battery","percentage":12}})";

class EvaluateCommandTest : public AgentToolTest {
 protected:
  EvaluateCommandTest() { writeActions(R"({"PatchActions":{"1":{"2002":["30"],"2003":[]}}})"); }
};

TEST_F(EvaluateCommandTest, ShowsAnswersAndMeasuredValues) {
  root.write("facts.json", kFacts);
  const ToolRun table = shell("vexlo-patch evaluate $patch --facts facts.json");
  EXPECT_EQ(table.errors, "");
  EXPECT_EQ(table.status, 75);
  EXPECT_EQ(
      table.output,
      "CODE  ACTION                       ANSWER      WHY\n"
      "2002  intelBatteryPercentageCheck  applyLater  inSufficientBattery; battery 12 %, 30 % "
      "needed\n"
      "2003  userLoggedInCheck            success     alice at the console\n");
  EXPECT_EQ(shell("vexlo-patch evaluate $patch --facts - --json < facts.json").output,
            R"({"patch":{"patchID":"1","productID":"2","servicePackID":"3"},"notInFile":[],)"
            R"("exempt":false,"actions":[{"name":"intelBatteryPercentageCheck","code":"2002",)"
            R"("arguments":["30"],"answer":"applyLater","description":"inSufficientBattery",)"
            R"("why":"battery 12 %, 30 % needed","measured":[{"kind":"battery",)"
            R"("source":"battery","percentage":12,"neededPercentage":30}],"next":"",)"
            R"("applications":[],"postponementsLeft":null,"commands":[],"acted":[]},)"
            R"({"name":"userLoggedInCheck","code":"2003","arguments":[],"answer":"success",)"
            R"("description":null,"why":"alice at the console","measured":[)"
            R"({"kind":"consoleUser","user":"alice"}],"next":"","applications":[],)"
            R"("postponementsLeft":null,"commands":[],"acted":[]}]})"
            "\n");
}

TEST_F(EvaluateCommandTest, ReportsWhyFactsAreUnusable) {
  root.write("two.json", std::string(kFacts) + "\n" + kFacts + "\n");
  root.write("indented.json", "{\n}\n");
  root.write("wrong.json", R"({"version":1,"appleSilicon":"yes"})");
  root.write("long.json", std::string(1'100'000, ' ') + kFacts);
  for (const auto& [file, message] :
       {std::pair("two.json",
                  "two.json: expected one line, found several lines (use what-if for those)"),
        {"wrong.json", "wrong.json: appleSilicon: expected true or false, found \"yes\""},
        {"- < long.json", "standard input: expected a line of at most 1048576 bytes, found more"},
        {"indented.json",
         "indented.json: expected a line of facts, found a JSON object on several"},
        {"none.json", "none.json: No such file or directory"}}) {
    const ToolRun run = shell(std::string("vexlo-patch evaluate $patch --facts ") + file);
    EXPECT_EQ(run.status, 65) << file;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith(std::string("vexlo-patch: ") + message));
  }
}

}  // namespace
