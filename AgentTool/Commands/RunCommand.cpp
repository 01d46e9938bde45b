#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Commands/ActionFile.h"
#include "AgentTool/Commands/AgentSession.h"
#include "AgentTool/Commands/Commands.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/Interruption.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Evaluation/Prediction.h"
#include "Platform/RealNumbers.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/Measurement.h"
#include "VexloPatchDeployment/Common/Overloaded.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"
#include "VexloPatchDeployment/PatchActions/Main/ProcessPatchActions.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppMeasurements.h"

namespace agent_tool {
namespace {

using FileCodec::jsonList;
using FileCodec::jsonMap;
using FileCodec::JSONObject;
using LogCore::text;
using vexlo::ActionID;
using vexlo::ActionProgress;
using vexlo::Measurement;
using vexlo::PatchActionResult;
using vexlo::ProcessPatchActions;
using Outcome = PatchActionResult::Outcome;

/// An action to run.
struct PlannedAction {
  ActionID actionID;
  std::vector<std::string> arguments;
  bool applies = true;  ///< Whether it applies to the patch.
};

/// Keeps the last log lines of every level in a readable form, «info Validators/Disk/Disk
/// hasMinimumFreeSpace(of:): …», and forwards all lines.
class LogLines final : public LogCore::LogSink {
 public:
  explicit LogLines(std::shared_ptr<LogCore::LogSink> next) : next_(std::move(next)) {}
  void write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
             const LogCore::MessageBuilder& build) override {
    std::string message = build().text;
    {
      const std::scoped_lock lock(mutex_);
      if (lines_.size() == kMost) {
        lines_.pop_front();
        ++dropped_;
      }
      lines_.push_back(text(nameOf(level), ' ', tag.file, ' ', tag.function, ": ", message));
    }
    next_->write(level, tag, line, [&] { return LogCore::Logger::Message(std::move(message)); });
  }

  /// Returns and removes the lines since the last call. If older lines were dropped, the first one
  /// says how many.
  [[nodiscard]] std::vector<std::string> take() {
    const std::scoped_lock lock(mutex_);
    if (const std::uint64_t dropped = std::exchange(dropped_, 0); dropped > 0) {
      lines_.push_front(text("(", dropped, " earlier lines)"));
    }
    const std::deque<std::string> taken = std::exchange(lines_, {});
    return {taken.begin(), taken.end()};
  }

 private:
  static constexpr std::size_t kMost = 200;

  std::shared_ptr<LogCore::LogSink> next_;
  std::mutex mutex_;
  std::deque<std::string> lines_;
  std::uint64_t dropped_ = 0;
};

/// Reports each action while it runs and as it ends.
class RunReport : public vexlo::ActionObserver {
 public:
  explicit RunReport(Console& console) : console_(console) {}
  /// Call first, with all actions.
  virtual void began(const std::vector<PlannedAction>& /*actions*/) {}
  /// Call before `action` runs.
  virtual void starts(const PlannedAction& /*action*/) {
    began_ = std::chrono::steady_clock::now();
    measurements_.clear();
  }
  /// Call when it has run. `logLines` are those of an action that didn't succeed; absent without
  /// `--explain`.
  virtual void ended(const PlannedAction& action, const PatchActionResult& result,
                     const std::optional<std::vector<std::string>>& logLines) = 0;
  /// Call last. `notRun` is the number of actions skipped after one that didn't succeed.
  virtual void closed(std::size_t /*notRun*/) {}

  void measured(const ActionID& /*action*/, const Measurement& measurement) final {
    measurements_.push_back(measurement);
  }

 protected:
  [[nodiscard]] Console& console() const { return console_; }
  /// Of the action that runs, or has just run.
  [[nodiscard]] const std::vector<Measurement>& measurements() const { return measurements_; }
  /// The time since it started, in seconds.
  [[nodiscard]] double timeGone() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
  }

 private:
  Console& console_;
  std::chrono::steady_clock::time_point began_;
  std::vector<Measurement> measurements_;
};

std::string detailAsJSON(const PatchActionResult& result) {
  if (!result.description) {
    return "null";
  }
  return std::visit(
      vexlo::Overloaded{
          [](const vexlo::MacOSUpdateIsDeferred& deferred) { return asJSON(deferred.until); },
          [](const vexlo::GotUserAcknowledgementForPatchingRunningApplications& acknowledged) {
            return jsonMap(acknowledged.applications);
          },
          [](vexlo::PlainReason) { return std::string("null"); }},
      *result.description);
}

/// Whether running applications were closed although the user had not agreed; the result alone
/// reads as if the user had.
bool isForced(const std::vector<Measurement>& measurements) {
  return std::ranges::any_of(measurements, [](const Measurement& measurement) {
    const auto* const prompt = measurement.as<vexlo::PromptMeasurement>();
    return prompt != nullptr &&
           prompt->decision == vexlo::RunningAppPromptDecision::forceDeployment &&
           prompt->answer == vexlo::PromptMeasurement::Answer::none;
  });
}

Style styleOf(Outcome outcome) { return verdictOn(predictionOf(outcome)).style; }

class JSONReport final : public RunReport {
 public:
  using RunReport::RunReport;

  void starts(const PlannedAction& action) override {
    RunReport::starts(action);
    lastProgress_.reset();
  }

  void progressed(const ActionID& action, const ActionProgress& progress) override {
    const double seconds = timeGone();
    if (progress.phase == ActionProgress::Phase::starting ||
        (lastProgress_ && lastProgress_->phase == progress.phase &&
         seconds - lastProgress_->seconds < kSecondsBetweenProgress)) {
      return;
    }
    lastProgress_ = {.phase = progress.phase, .seconds = seconds};
    const std::string percent =
        progress.percent ? platform::decimalText(*progress.percent, 2) : "null";
    console().write(JSONObject()
                        .addString("event", "progress")
                        .addString("name", describe(action))
                        .addString("code", action.code())
                        .addJSON("progress", JSONObject()
                                                 .addString("phase", name(progress.phase))
                                                 .addJSON("percent", percent)
                                                 .addString("line", progress.line)
                                                 .done())
                        .addJSON("seconds", platform::decimalText(seconds, 3))
                        .done() +
                    '\n');
  }

  void ended(const PlannedAction& action, const PatchActionResult& result,
             const std::optional<std::vector<std::string>>& logLines) override {
    const auto description =
        result.description.transform([](const auto& why) { return name(why); });
    JSONObject line;
    line.addString("event", "result")
        .addString("name", describe(action.actionID))
        .addString("code", action.actionID.code())
        .addJSON("arguments", jsonList(action.arguments))
        .addString("result", name(result.outcome))
        .addString("description", description)
        .addJSON("detail", detailAsJSON(result))
        .addString("why", describe(std::span(measurements())))
        .addJSON("measured", vexlo::measurementsAsJSON(measurements()))
        .addJSON("seconds", platform::decimalText(timeGone(), 3));
    if (logLines) {
      line.addJSON("log", jsonList(*logLines));
    }
    console().write(line.done() + '\n');
  }

 private:
  static constexpr double kSecondsBetweenProgress = 1;
  struct Progress {
    ActionProgress::Phase phase;
    double seconds;
  };

  std::optional<Progress> lastProgress_;  // of the running action
};

class TableReport final : public RunReport {
 public:
  explicit TableReport(Console& console)
      : RunReport(console), columns_(console, {"CODE", "ACTION", "RESULT", "     TIME", "WHY"}) {}

  void began(const std::vector<PlannedAction>& actions) override {
    if (actions.empty()) {
      console().write("No action applies.\n");
      return;
    }
    for (const PlannedAction& action : actions) {
      columns_.fit({{printable(action.actionID.code())},
                    {printable(describe(action.actionID))},
                    {"applyLater"}});
    }
    console().write(columns_.headings());
  }

  void starts(const PlannedAction& action) override {
    RunReport::starts(action);
    activity_.emplace(console(),
                      [name = text(printable(action.actionID.code()), ' ',
                                   printable(describe(action.actionID)))] { return name; });
  }

  void progressed(const ActionID& /*action*/, const ActionProgress& progress) override {
    if (activity_) {
      const bool isStarting = progress.phase == ActionProgress::Phase::starting;
      activity_->show(isStarting ? "" : describe(progress));
    }
  }

  void ended(const PlannedAction& action, const PatchActionResult& result,
             const std::optional<std::vector<std::string>>& logLines) override {
    activity_.reset();
    ++counts_[result.outcome];
    const std::string code = printable(action.actionID.code());
    const std::string actionName = printable(describe(action.actionID));
    console().write(columns_.row(
        {{code},
         {actionName},
         {name(result.outcome), styleOf(result.outcome)},
         {rightAligned(platform::decimalText(timeGone(), 2) + " s", kTimeWidth), Style::faint},
         {reason(result)}}));
    if (logLines) {
      explanations_ += text(
          '\n',
          console().styled(text(code, ' ', actionName, ": ", name(result.outcome)), Style::bold),
          '\n');
      for (const std::string& line : *logLines) {
        explanations_ += text("  ", printable(line), '\n');
      }
    }
  }

  void closed(std::size_t notRun) override {
    std::string summary;
    for (const auto& [outcome, count] : counts_) {
      summary += text(summary.empty() ? "" : ", ", count, ' ',
                      console().styled(name(outcome), styleOf(outcome)));
    }
    if (notRun > 0) {
      summary += text(", ", notRun, " not run");
    }
    if (!summary.empty()) {
      console().write(summary + "\n" + explanations_);
    }
  }

 private:
  /// The reason's name and what was measured: «inSufficientBattery: battery 12 %, 30 % needed».
  [[nodiscard]] std::string reason(const PatchActionResult& result) const {
    std::string measured = printable(describe(std::span(measurements())));
    if (!result.description || isForced(measurements())) {
      return measured;
    }
    const std::string reason = name(*result.description);
    return measured.empty() ? reason : text(reason, ": ", measured);
  }

  static constexpr std::size_t kTimeWidth = std::string_view("     TIME").size();

  Columns columns_;
  std::optional<Console::Activity> activity_;  // of the running action
  std::map<Outcome, std::size_t> counts_;
  std::string explanations_;  // shown below the table
};

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
    const LogCore::ScopedLogSink quiet(std::make_shared<LogCore::NullSink>());
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
      request.json ? std::shared_ptr<RunReport>(std::make_shared<JSONReport>(console))
                   : std::make_shared<TableReport>(console);
  if (request.json && !notInFile.empty()) {
    console.write(JSONObject()
                      .addString("event", "notInFile")
                      .addJSON("notInFile", jsonList(notInFile))
                      .done() +
                  '\n');
  }
  report->began(planned);
  std::shared_ptr<LogLines> logLines;
  std::optional<LogCore::ScopedLogSink> keptLines;
  if (request.explain) {
    logLines = std::make_shared<LogLines>(session.sink());
    keptLines.emplace(logLines);
  }
  processor.setObserver(report);
  Verdict worst = Verdict::ready;
  std::size_t count = 0;
  for (const PlannedAction& action : planned) {
    report->starts(action);
    const PatchActionResult result = processor.execute(action.actionID);
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
