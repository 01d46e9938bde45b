#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFiles/ActionFileCheck.h"
#include "AgentTool/ActionFiles/ActionReference.h"
#include "AgentTool/ActionFiles/ArgumentKinds.h"
#include "AgentTool/Evaluation/Evaluator.h"
#include "AgentTool/Facts/Facts.h"
#include "AgentTool/Fleet/FleetSummary.h"
#include "Tests/AgentTool/AgentToolFixture.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"

using LogCore::text;
using testing::AllOf;
using testing::HasSubstr;

namespace {

std::string document(const std::string& name) {
  std::ifstream file(VEXLO_DOCUMENTS "/" + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The part of `text` between two strings.
std::string between(std::string_view text, std::string_view begin, std::string_view end) {
  const std::size_t first = text.find(begin);
  if (first == std::string_view::npos) {
    return "no " + std::string(begin);
  }
  const std::string_view rest = text.substr(first + begin.size());
  return std::string(rest.substr(0, rest.find(end)));
}

class ActionReferenceTest : public AgentToolTest {};

TEST_F(ActionReferenceTest, GeneratedDocumentsAreUpToDate) {
  constexpr const char* kHow = "run ./dev generate";
  EXPECT_EQ(document("action-file.schema.json"), agent_tool::actionFileSchema()) << kHow;
  EXPECT_EQ(between(document("ACTION-FILE.md"), "KnownActions.cpp. -->\n", "<!-- end -->"),
            agent_tool::actionsAsMarkdown())
      << kHow;
  EXPECT_EQ(document("facts.schema.json"), agent_tool::factsSchema()) << kHow;
  EXPECT_THAT(document("FACTS.md"), HasSubstr(agent_tool::factsAsMarkdown())) << kHow;
  EXPECT_THAT(document("RUN.md"), HasSubstr(agent_tool::measurementsAsMarkdown())) << kHow;
}

TEST_F(ActionReferenceTest, DocumentedExampleHasTheDocumentedPlan) {
  const std::string page = document("ACTION-FILE.md");
  const std::string file = writeActions(between(page, "```json\n", "```"));
  EXPECT_THAT(shell("vexlo-patch check " + file).output, HasSubstr("no warnings"));
  std::istringstream session(between(page, "```console\n", "```"));
  std::string commands;
  for (std::string line; std::getline(session, line);) {
    if (line.starts_with("$ ")) {
      commands += "echo '" + line + "'; " + line.substr(2) + "\n";
    }
  }
  EXPECT_EQ(shell(commands).output, session.str());
}

TEST_F(ActionReferenceTest, PagesNameEverything) {
  const auto expectIn = [](const std::string& name, const auto& text) {
    EXPECT_THAT(document(name), HasSubstr(text)) << name;
  };
  for (std::uint8_t kind = 0;
       kind <= std::to_underlying(agent_tool::FindingKind::restartBeforeAction); ++kind) {
    expectIn("ACTION-FILE.md",
             text("| `", name(static_cast<agent_tool::FindingKind>(kind)), "` | "));
  }
  for (const vexlo::KnownActionRow& action : vexlo::knownActions()) {
    expectIn("../CHANGELOG.md", text('`', action.name, '`'));
  }
  std::vector<std::string_view> keys = vexlo::RunningAppPromptCustomization::keys();
  keys.insert(keys.end(), vexlo::PatchDataKeys::all.begin(), vexlo::PatchDataKeys::all.end());
  for (const std::string_view key : keys) {
    expectIn("AGENT-FILES.md", text('`', key, '`'));
  }
  constexpr std::array kVerdicts{"ready", "waits", "fails"};
  for (const agent_tool::PredictionRow& row : agent_tool::kPredictions) {
    expectIn("EVALUATE.md",
             text("| `", row.name, "` | ", kVerdicts.at(std::to_underlying(row.verdict)), " | ",
                  row.meaning, " |\n"));
  }
  for (const agent_tool::UpdateRow& row : agent_tool::kUpdates) {
    expectIn("FLEET.md", text("| `", row.name, "` | ", row.meaning, " |\n"));
  }
}

/// An action without a minimum, whose second argument may be left out.
TEST_F(ActionReferenceTest, ArgumentsMayBeOptionalAndNegative) {
  using vexlo::ActionArgument;
  using vexlo::ArgumentKind;
  const std::vector<ActionArgument> arguments{{.name = "path",
                                               .kind = ArgumentKind::applicationPath,
                                               .meaning = "of it",
                                               .example = "/x.app"},
                                              {.name = "offset",
                                               .kind = ArgumentKind::integer,
                                               .meaning = "in hours",
                                               .example = "-3",
                                               .isOptional = true,
                                               .largest = 100,
                                               .ifLarger = "the argument is in hours"}};
  vexlo::KnownActionRow action = vexlo::knownActions().front();
  action.arguments = arguments;
  EXPECT_THAT(agent_tool::explanationOf(action),
              HasSubstr("\nArguments:\n  path: of it\n  offset: in hours; optional\n"));
  EXPECT_EQ(action.requiredArguments(), 1U);
  EXPECT_EQ(agent_tool::patternOf(arguments[1]), R"(^-[0-9]+$|^\+?0*(100|[0-9]{1,2})$)");
  EXPECT_FALSE(agent_tool::problemWith(arguments[1], "-3"));
  EXPECT_TRUE(agent_tool::problemWith(arguments[1], "101"));
}

TEST_F(ActionReferenceTest, HelpFindsAnActionByCodeOrName) {
  const ToolRun byCode = shell("vexlo-patch help actions 2005");
  EXPECT_THAT(byCode.output,
              AllOf(HasSubstr("2005 minimumDiskSpaceCheck\n"), HasSubstr("\"2005\": [\"20\"]"),
                    HasSubstr("  applyLater(inSufficientDiskSpaceForSoftwareUpdate)\n")));
  EXPECT_EQ(shell("vexlo-patch help actions minimumDiskSpaceCheck").output, byCode.output);
  EXPECT_THAT(shell("vexlo-patch help actions").output,
              HasSubstr("  2005  minimumDiskSpaceCheck\n"));
}

}  // namespace
