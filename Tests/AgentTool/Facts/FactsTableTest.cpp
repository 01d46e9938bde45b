#include "AgentTool/Facts/FactsTable.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>

namespace agent_tool {
namespace {

std::string document(const std::string& name) {
  std::ifstream file(VEXLO_DOCUMENTS "/" + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(FactsTableTest, GeneratedDocumentsAreUpToDate) {
  EXPECT_EQ(document("facts.schema.json"), factsSchema()) << "run ./dev generate";
  EXPECT_THAT(document("FACTS.md"), testing::HasSubstr(factsAsMarkdown())) << "run ./dev generate";
}

}  // namespace
}  // namespace agent_tool
