#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Commands/ActionFile.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/LineReader.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Evaluation/Evaluator.h"
#include "AgentTool/Facts/Facts.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/Measurement.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using FileCodec::jsonList;
using FileCodec::JSONObject;
using LogCore::text;
using vexlo::ActionDetail;

/// The facts in a file, whose only line that isn't blank they are. Throws `DecodingError`.
Facts factsIn(const std::string& file) try {
  LineReader input(file, kLongestFactsLine);
  const auto found = [&](std::string_view what, std::string expected) {
    return DecodingError(input.name(), {}, std::move(expected), std::string(what));
  };
  const LineReader::Line line = input.next().value_or(LineReader::Line());
  const std::string only(line.text);
  if (const std::string_view format = otherFormat(only); !format.empty()) {
    throw found(format, "a line of facts");
  }
  if (line.isTooLong) {
    throw found("more", text("a line of at most ", kLongestFactsLine, " bytes"));
  }
  if (input.next()) {
    throw found("several lines (use what-if for those)", "one line");
  }
  FactsReader reader;
  const auto facts = reader.read(only);
  if (!facts) {
    const DecodingError& error = facts.error();
    throw DecodingError(input.name(), error.place(), error.expected(), error.found());
  }
  return **facts;
} catch (const std::system_error& error) {
  throw DecodingError({}, {}, {}, error.what());
}

// `acted` are the actions that would act before.

std::string evaluationAsJSON(const ActionDetail& action, const Evaluation& evaluation,
                             const std::vector<Acted>& acted) {
  const std::int64_t left = evaluation.postponementsLeft;
  return JSONObject()
      .addString("name", describe(action.actionID))
      .addString("code", action.actionID.code())
      .addJSON("arguments", jsonList(action.arguments))
      .addString("answer", nameOf(evaluation.prediction))
      .addString("description", evaluation.reason())
      .addString("why", describe(std::span(evaluation.measurements)))
      .addJSON("measured", vexlo::measurementsAsJSON(evaluation.measurements))
      .addString("next", evaluation.next)
      .addJSON("applications", jsonList(evaluation.applications))
      .addNumber("postponementsLeft", left < 1 ? std::nullopt : std::optional(left))
      .addJSON("commands", jsonList(evaluation.commands))
      .addJSON("acted", asJSON(acted))
      .done();
}

std::vector<Cell> asRow(const ActionDetail& action, const Evaluation& evaluation,
                        const std::vector<Acted>& acted) {
  std::vector<std::string> reasons;
  for (const std::string& part : {evaluation.reason().value_or(""),
                                  describe(std::span(evaluation.measurements)), evaluation.next}) {
    if (!part.empty()) {
      reasons.push_back(printable(part));
    }
  }
  const VerdictRow& verdict = verdictOn(evaluation.prediction);
  if (verdict.stopsPatch) {
    for (const Acted& each : acted) {
      reasons.push_back(text(each.code, ' ', rowOf(each.outcome).act, " first"));
    }
  }
  return {{printable(action.actionID.code())},
          {printable(describe(action.actionID))},
          {std::string(nameOf(evaluation.prediction)), verdict.style},
          {platform::joined(reasons, "; ")}};
}

}  // namespace

ExitStatus evaluate(const EvaluateRequest& request, Console& console) {
  const AgentSession session(request.agent, console);
  const auto [file, notInFile] = checkedActionFile(request, session, console);
  const vexlo::PatchActionProvider provider(request.patch(), file);
  const std::vector<ActionDetail> actions = provider.actionDetails();
  Evaluator evaluator(request.patch(), file);
  const Facts facts = request.factsFile ? factsIn(*request.factsFile) : readFacts(request.extent);
  evaluator.use(facts);
  std::vector<std::string> objects;
  std::vector<std::vector<Cell>> rows;
  std::vector<Acted> acted;
  Verdict worst = Verdict::ready;
  for (const ActionDetail& action : actions) {
    const Evaluation& evaluation = evaluator.evaluate(action.actionID);
    if (request.json) {
      objects.push_back(evaluationAsJSON(action, evaluation, acted));
    } else {
      rows.push_back(asRow(action, evaluation, acted));
    }
    worst = std::max(worst, verdictOn(evaluation.prediction).verdict);
    if (!rowOf(evaluation.prediction).act.empty()) {
      acted.push_back({std::string(action.actionID.code()), evaluation.prediction});
    }
  }
  console.write(request.json ? patchAsJSON(request, notInFile, provider.isExempt())
                                       .addJSON("actions", FileCodec::jsonArray(objects))
                                       .done() +
                                   '\n'
                : rows.empty() ? "No action applies.\n"
                               : tableText(console, {"CODE", "ACTION", "ANSWER", "WHY"}, rows));
  return rowOf(worst).status;
}

}  // namespace agent_tool
