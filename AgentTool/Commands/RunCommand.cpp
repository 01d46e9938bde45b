#include <algorithm>
#include <chrono>
#include <cstddef>
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
#include "VexloPatchDeployment/Common/PatchActionFileError.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"

namespace agent_tool {
namespace {

using FileCodec::JSONObject;
using vexlo::ActionID;
using vexlo::ProcessPatchActions;
using Outcome = vexlo::PatchActionResult::Outcome;

/// The action with this code, or the known action with this name.
ActionID actionCalled(const std::string& codeOrName) {
  const vexlo::KnownActionRow* const known = vexlo::findKnownAction(codeOrName);
  return known != nullptr ? known->action : ActionID(codeOrName);
}

/// The selected actions in running order, without duplicates.
std::vector<ActionID> pickedActions(const std::vector<std::string>& codesAndNames) {
  std::vector<ActionID> actions;
  actions.reserve(codesAndNames.size());
  for (const std::string& each : codesAndNames) {
    actions.push_back(actionCalled(each));
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
std::vector<ActionID> applicableActions(
    const vexlo::PatchIdentifier& patch,
    const std::shared_ptr<const vexlo::PatchActionGroup>& file) {
  const vexlo::PatchActionProvider provider(patch, file);
  const std::vector<vexlo::ActionDetail> details = [&] {
    const auto quiet = AgentSession::withoutLines();
    return provider.actionDetails();
  }();
  if (details.empty()) {
    static_cast<void>(provider.actionDetails());
  }
  std::vector<ActionID> actions;
  actions.reserve(details.size());
  for (const vexlo::ActionDetail& detail : details) {
    actions.push_back(detail.actionID);
  }
  return actions;
}

std::vector<PlannedAction> plannedActions(
    const RunRequest& request, const std::shared_ptr<const vexlo::PatchActionGroup>& file,
    ProcessPatchActions& processor) {
  std::vector<PlannedAction> planned;
  for (ActionID& action : request.actionCodes.empty() ? applicableActions(request.patch(), file)
                                                      : pickedActions(request.actionCodes)) {
    auto arguments = processor.arguments(action);
    const bool applies = arguments.has_value();
    planned.push_back(
        {std::move(action), std::move(arguments).value_or(std::vector<std::string>()), applies});
  }
  return planned;
}

/// Runs actions, one at a time, and reports their progress.
class Runner final : public vexlo::ActionObserver {
 public:
  /// `logLines` is null unless `--explain` was given.
  Runner(Console& console, RunReport& report, bool showsActivity,
         std::shared_ptr<LogLines> logLines)
      : console_(console),
        report_(report),
        showsActivity_(showsActivity),
        logLines_(std::move(logLines)) {}

  /// Runs the action with `processor`, which this observes.
  EndedAction run(const PlannedAction& action, ProcessPatchActions& processor) {
    if (logLines_) {
      (void)logLines_->take();
    }
    if (showsActivity_) {
      activity_.emplace(
          console_, printable(action.actionID.code()) + " " + printable(describe(action.actionID)));
    }
    action_ = &action;
    began_ = std::chrono::steady_clock::now();
    vexlo::PatchActionResult result = processor.execute(action.actionID);
    const std::chrono::duration<double> took = timeGone();
    activity_.reset();
    std::optional<std::vector<std::string>> lines;
    if (logLines_ && result.outcome != Outcome::success) {
      lines = logLines_->take();
    }
    return {action, std::move(result), std::exchange(measurements_, {}), std::move(lines), took};
  }

  void measured(const ActionID& /*action*/, const vexlo::Measurement& measurement) override {
    measurements_.push_back(measurement);
  }
  void progressed(const ActionID& /*action*/, const vexlo::ActionProgress& progress) override {
    const bool isStarting = progress.phase == vexlo::ActionProgress::Phase::starting;
    if (activity_) {
      activity_->show(isStarting ? std::string() : describe(progress));
    }
    if (isStarting) {
      return;  // no progress reported yet
    }
    report_.progressed(*action_, progress, timeGone());
  }

 private:
  [[nodiscard]] std::chrono::duration<double> timeGone() const {
    return std::chrono::steady_clock::now() - began_;
  }

  Console& console_;
  RunReport& report_;
  bool showsActivity_;
  std::shared_ptr<LogLines> logLines_;
  std::optional<Console::Activity> activity_;
  const PlannedAction* action_ = nullptr;  // the running action
  std::chrono::steady_clock::time_point began_;
  std::vector<vexlo::Measurement> measurements_;
};

std::unique_ptr<ProcessPatchActions> makeProcessor(const RunRequest& request,
                                                   const AgentSession& session) {
  const auto quiet = session.withoutLinesOnConsole();
  return std::make_unique<ProcessPatchActions>(request.patch());
}

}  // namespace

ExitStatus run(const RunRequest& request, Console& console) {
  handleTerminationSignals(request.json ? -1 : console.activityDescriptor());
  const AgentSession session(request.agent, console);
  std::unique_ptr<ProcessPatchActions> processor;
  try {
    processor = makeProcessor(request, session);
  } catch (const vexlo::PatchActionFileError& error) {
    console.reportError(printable(error.what()));
    return ExitStatus::unusableFile;
  }

  const auto file = actionFile(request, session, console);
  if (!file) {
    return file.error();
  }
  const std::vector<PlannedAction> planned = plannedActions(request, file->group, *processor);
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
  const std::unique_ptr<RunReport> report =
      request.json ? makeJSONReport(console) : makeTableReport(console);
  if (const auto& names = file->namesNotInFile; request.json && !names.empty()) {
    console.write(
        JSONObject().addString("event", "notInFile").addJSON("notInFile", asJSON(names)).done() +
        '\n');
  }
  report->began(planned);
  std::shared_ptr<LogLines> logLines;
  std::optional<AgentSession::OtherSink> keptLines;
  if (request.explain) {
    logLines = std::make_shared<LogLines>(session.sink());
    keptLines.emplace(logLines);
  }
  const auto runner = std::make_shared<Runner>(console, *report, !request.json, logLines);
  processor->setObserver(runner);
  Verdict worst = Verdict::ready;
  std::size_t count = 0;
  for (const PlannedAction& action : planned) {
    const EndedAction ended = runner->run(action, *processor);
    ++count;
    report->ended(ended);
    worst = std::max(worst, verdictOn(predictionOf(ended.result.outcome)).verdict);
    if (ended.result.outcome != Outcome::success && !request.keepGoing) {
      break;
    }
  }
  report->closed(planned.size() - count);
  return rowOf(worst).status;
}

}  // namespace agent_tool
