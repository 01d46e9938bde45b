#include "AgentTool/Facts/FactsMembers.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

#include "AgentTool/Facts/CompactJSON.h"

namespace agent_tool {
namespace {

using Names = std::set<std::string, std::less<>>;

std::string document(const std::string& name) {
  std::ifstream file(VEXLO_DOCUMENTS "/" + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

Names namesWhere(bool (*isMeant)(const FactsMember&)) {
  Names names;
  for (const FactsMember& member : factsMembers()) {
    if (isMeant(member)) {
      names.emplace(member.name);
    }
  }
  return names;
}

TEST(FactsMembersTest, SchemaDescribesExactlyTheMembers) {
  const std::string text = document("facts.schema.json");
  CompactJSON parser;
  const JSONValue* const schema = parser.read(text);
  ASSERT_NE(schema, nullptr);
  Names described;
  schema->find("properties")->forEachMember([&](std::string_view name, const JSONValue&) {
    described.emplace(name);
  });
  Names required;
  schema->find("required")->forEachElement([&](const JSONValue& name) {
    required.emplace(name.string().value());
  });
  EXPECT_EQ(described, namesWhere([](const FactsMember&) { return true; }));
  EXPECT_EQ(required, namesWhere([](const FactsMember& member) { return member.isNeeded; }));
}

TEST(FactsMembersTest, PageListsExactlyTheWrittenMembers) {
  std::istringstream page(document("FACTS.md"));
  Names listed;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("| `")) {
      listed.insert(line.substr(3, line.find('`', 3) - 3));
    }
  }
  EXPECT_EQ(listed, namesWhere([](const FactsMember& member) { return member.write != nullptr; }));
}

}  // namespace
}  // namespace agent_tool
