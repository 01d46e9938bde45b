#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentTool/Commands/ActionFile.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Commands/RunReport.h"
#include "AgentTool/Console/Interruption.h"
#include "AgentTool/Console/LogLines.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Evaluation/Prediction.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace agent_tool {
namespace {

using vexlo::ActionID;
using vexlo::ProcessPatchActions;
using Outcome = vexlo::PatchActionResult::Outcome;

/// The selected actions in running order, without duplicates.
std::vector<ActionID> pickedActions(const std::vector<std::string>& codesAndNames) {
  std::vector<ActionID> actions;
  actions.reserve(codesAndNames.size());
  for (const std::string& each : codesAndNames) {
    const vexlo::KnownActionRow* const known = vexlo::findKnownAction(each);
    actions.push_back(known != nullptr ? known->action : ActionID(each));
  }
  std::ranges::sort(actions, {}, [](const ActionID& action) {
    return std::tuple(action.sortOrder(), action.code());
  });
  const auto repeated = std::ranges::unique(actions);
  actions.erase(repeated.begin(), repeated.end());
  return actions;
}

/// The applicable actions, in order. The processor logs the plan when it runs them; an empty plan
/// is logged here.
std::vector<ActionID> applicableActions(const vexlo::PatchActionProvider& provider) {
  const std::vector<vexlo::ActionDetail> details = [&] {
    const auto quiet = AgentSession::withoutLines();
    return provider.actionDetails();
  }();
  if (details.empty()) {
    static_cast<void>(provider.actionDetails());
  }
  std::vector<ActionID> actions;
  std::ranges::transform(details, std::back_inserter(actions), &vexlo::ActionDetail::actionID);
  return actions;
}

std::vector<PlannedAction> plannedActions(const RunRequest& request, const ActionFile& file,
                                          ProcessPatchActions& processor) {
  std::vector<PlannedAction> planned;
  for (ActionID& action : request.actionCodes.empty() ? applicableActions({request.patch(), file})
                                                      : pickedActions(request.actionCodes)) {
    auto arguments = processor.arguments(action);
    const bool applies = arguments.has_value();
    planned.push_back(
        {std::move(action), std::move(arguments).value_or(std::vector<std::string>()), applies});
  }
  return planned;
}

}  // namespace

ExitStatus run(const RunRequest& request, Console& console) {
  handleTerminationSignals(request.json ? -1 : console.activityDescriptor());
  const AgentSession session(request.agent, console);
  ProcessPatchActions processor = [&] {
    const auto quiet = session.withoutLinesOnConsole();
    return ProcessPatchActions(request.patch());
  }();
  const auto [file, notInFile] = checkedActionFile(request, session, console);
  const std::vector<PlannedAction> planned = plannedActions(request, file, processor);
  // A code that is neither known nor in the action file is a typing error.
  const auto unknown = std::ranges::find_if(planned, [](const PlannedAction& action) {
    return !action.applies &&
           std::holds_alternative<vexlo::UndefinedAction>(action.actionID.value());
  });
  if (unknown != planned.end()) {
    console.reportError("--action: neither a known action nor one of the patch: " +
                        inQuotes(unknown->actionID.code()) + "\nTry 'vexlo-patch help run'.");
    return ExitStatus::badUsage;
  }
  const std::shared_ptr<RunReport> report =
      request.json ? makeJSONReport(console) : makeTableReport(console);
  if (request.json && !notInFile.empty()) {
    console.write(FileCodec::JSONObject()
                      .addString("event", "notInFile")
                      .addJSON("notInFile", FileCodec::jsonList(notInFile))
                      .done() +
                  '\n');
  }
  report->began(planned);
  std::shared_ptr<LogLines> logLines;
  std::optional<AgentSession::OtherSink> keptLines;
  if (request.explain) {
    logLines = std::make_shared<LogLines>(session.sink());
    keptLines.emplace(logLines);
  }
  processor.setObserver(report);
  Verdict worst = Verdict::ready;
  std::size_t count = 0;
  for (const PlannedAction& action : planned) {
    report->starts(action);
    const vexlo::PatchActionResult result = processor.execute(action.actionID);
    const bool isSuccess = result.outcome == Outcome::success;
    auto lines = logLines ? std::optional(logLines->take()) : std::nullopt;
    report->ended(action, result, isSuccess ? std::nullopt : lines);
    ++count;
    worst = std::max(worst, verdictOn(predictionOf(result.outcome)).verdict);
    if (!isSuccess && !request.keepGoing) {
      break;
    }
  }
  report->closed(planned.size() - count);
  return rowOf(worst).status;
}

}  // namespace agent_tool
