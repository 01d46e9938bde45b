#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
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

using FileCodec::jsonArray;
using FileCodec::jsonList;
using FileCodec::JSONObject;
using FileCodec::jsonOptional;
using LogCore::text;
using vexlo::ActionDetail;
using ActionFile = std::shared_ptr<const vexlo::PatchActionGroup>;

/// One action of the patch and its evaluation.
struct EvaluatedAction {
  ActionDetail action;
  Evaluation evaluation;
  std::vector<Acted> acted;  ///< Before this action.
};

std::vector<EvaluatedAction> evaluateAll(const std::vector<ActionDetail>& actions,
                                         Evaluator& evaluator) {
  std::vector<EvaluatedAction> evaluated;
  evaluated.reserve(actions.size());
  std::vector<Acted> acted;
  for (const ActionDetail& action : actions) {
    const Evaluation& evaluation = evaluator.evaluate(action.actionID);
    evaluated.push_back({.action = action, .evaluation = evaluation, .acted = acted});
    if (!rowOf(evaluation.prediction).act.empty()) {
      acted.push_back({std::string(action.actionID.code()), evaluation.prediction});
    }
  }
  return evaluated;
}

/// The only line of the input that isn't blank. Throws `DecodingError` and `std::system_error`.
std::string onlyLine(LineReader& input) {
  std::string only;
  while (const auto line = input.next()) {
    if (const std::string_view format = otherFormat(line->text); only.empty() && !format.empty()) {
      throw FileCodec::DecodingError(input.name(), {}, "a line of facts", std::string(format));
    }
    if (line->isTooLong) {
      throw FileCodec::DecodingError(
          input.name(), {}, text("a line of at most ", kLongestFactsLine, " bytes"), "more");
    }
    if (!only.empty()) {
      throw FileCodec::DecodingError(input.name(), {}, "one line",
                                     "several lines (use what-if for those)");
    }
    only = line->text;
  }
  return only;
}

/// The facts in a file, which `reader` keeps. Throws `DecodingError`.
const Facts& factsIn(const std::string& file, FactsReader& reader) try {
  LineReader input(file, kLongestFactsLine);
  const auto facts = reader.read(onlyLine(input));
  if (!facts) {
    const FileCodec::DecodingError& error = facts.error();
    throw FileCodec::DecodingError(input.name(), error.place(), error.expected(), error.found());
  }
  return **facts;
} catch (const std::system_error& error) {
  throw FileCodec::DecodingError(file, {}, {}, error.code().message());
}

std::string evaluationAsJSON(const vexlo::PatchIdentifier& patch,
                             const std::vector<NameNotInFile>& notInFile, bool exempt,
                             const std::vector<EvaluatedAction>& evaluated) {
  std::vector<std::string> actions;
  actions.reserve(evaluated.size());
  for (const auto& [action, evaluation, acted] : evaluated) {
    const std::int64_t left = evaluation.postponementsLeft;
    actions.push_back(JSONObject()
                          .addString("name", describe(action.actionID))
                          .addString("code", action.actionID.code())
                          .addJSON("arguments", jsonList(action.arguments))
                          .addString("answer", name(evaluation.prediction))
                          .addJSON("description", jsonOptional(evaluation.reason()))
                          .addString("why", describe(std::span(evaluation.measurements)))
                          .addJSON("measured", vexlo::measurementsAsJSON(evaluation.measurements))
                          .addString("next", evaluation.next)
                          .addJSON("applications", jsonList(evaluation.applications))
                          .addJSON("postponementsLeft", left < 1 ? "null" : text(left))
                          .addJSON("commands", jsonList(evaluation.commands))
                          .addJSON("acted", asJSON(acted))
                          .done());
  }
  return patchAsJSON(patch, notInFile, exempt).addJSON("actions", jsonArray(actions)).done() + '\n';
}

std::string evaluationAsTable(const std::vector<EvaluatedAction>& evaluated,
                              const Console& console) {
  if (evaluated.empty()) {
    return "No action applies.\n";
  }
  std::vector<std::vector<Cell>> rows;
  for (const auto& [action, evaluation, acted] : evaluated) {
    std::vector<std::string> reasons;
    if (auto reason = evaluation.reason()) {
      reasons.push_back(*std::move(reason));
    }
    for (const std::string& part :
         {describe(std::span(evaluation.measurements)), evaluation.next}) {
      if (!part.empty()) {
        reasons.push_back(printable(part));
      }
    }
    if (verdictOn(evaluation.prediction).stopsPatch) {
      for (const auto& [code, outcome] : acted) {
        reasons.push_back(text(code, ' ', rowOf(outcome).act, " first"));
      }
    }
    std::vector<Cell>& row = rows.emplace_back();
    row = {{printable(action.actionID.code())},
           {printable(describe(action.actionID))},
           {std::string(name(evaluation.prediction)), verdictOn(evaluation.prediction).style},
           {platform::joined(reasons, "; ")}};
  }
  return tableText(console, {"CODE", "ACTION", "ANSWER", "WHY"}, rows);
}

/// That of the worst verdict.
ExitStatus statusFor(const std::vector<EvaluatedAction>& evaluated) {
  Verdict worst = Verdict::ready;
  for (const EvaluatedAction& action : evaluated) {
    worst = std::max(worst, verdictOn(action.evaluation.prediction).verdict);
  }
  return rowOf(worst).status;
}

}  // namespace

ExitStatus evaluate(const EvaluateRequest& request, Console& console) {
  const AgentSession session(request.agent, console);
  const auto file = actionFile(request, session, console);
  if (!file) {
    return file.error();
  }
  const vexlo::PatchActionProvider provider(request.patch(), file->group);
  const std::vector<ActionDetail> actions = provider.actionDetails();
  Evaluator evaluator(request.patch(), file->group);
  FactsReader reader;
  Facts factsHere;
  try {
    if (!request.factsFile) {
      factsHere = readFacts(request.extent);
    }
    evaluator.use(request.factsFile ? factsIn(*request.factsFile, reader) : factsHere);
  } catch (const FileCodec::DecodingError& error) {
    console.reportError(printable(error.what()));
    return ExitStatus::unusableFile;
  }
  const std::vector<EvaluatedAction> evaluated = evaluateAll(actions, evaluator);
  console.write(request.json ? evaluationAsJSON(request.patch(), file->namesNotInFile,
                                                provider.isExempt(), evaluated)
                             : evaluationAsTable(evaluated, console));
  return statusFor(evaluated);
}

}  // namespace agent_tool
