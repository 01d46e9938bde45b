#include "AgentTool/Commands/RunReport.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>
#include <variant>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Evaluation/Prediction.h"
#include "Platform/RealNumbers.h"
#include "VexloPatchDeployment/Common/Measurement.h"
#include "VexloPatchDeployment/Common/Overloaded.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppMeasurements.h"

namespace agent_tool {
namespace {

using FileCodec::jsonList;
using FileCodec::jsonMap;
using FileCodec::JSONObject;
using LogCore::text;
using vexlo::ActionProgress;
using vexlo::GotUserAcknowledgementForPatchingRunningApplications;
using vexlo::MacOSUpdateIsDeferred;
using vexlo::Measurement;
using vexlo::PatchActionResult;
using vexlo::PlainReason;
using Outcome = PatchActionResult::Outcome;

std::string detailAsJSON(const PatchActionResult& result) {
  if (!result.description) {
    return "null";
  }
  return std::visit(
      vexlo::Overloaded{
          [](const MacOSUpdateIsDeferred& deferred) { return asJSON(deferred.until); },
          [](const GotUserAcknowledgementForPatchingRunningApplications& acknowledged) {
            return jsonMap(acknowledged.applications);
          },
          [](PlainReason) { return std::string("null"); }},
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
  explicit JSONReport(Console& console) : console_(console) {}

  void starts(const PlannedAction& action) override {
    RunReport::starts(action);
    lastProgress_.reset();
  }

  void progressed(const vexlo::ActionID& action, const ActionProgress& progress) override {
    const double seconds = timeGone();
    if (progress.phase == ActionProgress::Phase::starting ||
        (lastProgress_ && lastProgress_->phase == progress.phase &&
         seconds - lastProgress_->seconds < kSecondsBetweenProgress)) {
      return;
    }
    lastProgress_ = {.phase = progress.phase, .seconds = seconds};
    const std::string percent =
        progress.percent ? platform::decimalText(*progress.percent, 2) : "null";
    console_.write(JSONObject()
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
    console_.write(line.done() + '\n');
  }

 private:
  static constexpr double kSecondsBetweenProgress = 1;
  struct Progress {
    ActionProgress::Phase phase;
    double seconds;
  };

  Console& console_;
  std::optional<Progress> lastProgress_;  // of the running action
};

class TableReport final : public RunReport {
 public:
  explicit TableReport(Console& console)
      : console_(console), columns_(console, {"CODE", "ACTION", "RESULT", "     TIME", "WHY"}) {
    columns_.fit(kResult, "applyLater");
  }

  void began(const std::vector<PlannedAction>& actions) override {
    if (actions.empty()) {
      console_.write("No action applies.\n");
      return;
    }
    for (const PlannedAction& action : actions) {
      columns_.fit(kCode, printable(action.actionID.code()));
      columns_.fit(kAction, printable(describe(action.actionID)));
    }
    console_.write(columns_.headings());
  }

  void starts(const PlannedAction& action) override {
    RunReport::starts(action);
    activity_.emplace(console_, text(printable(action.actionID.code()), ' ',
                                     printable(describe(action.actionID))));
  }

  void progressed(const vexlo::ActionID& /*action*/, const ActionProgress& progress) override {
    if (activity_) {
      const bool isStarting = progress.phase == ActionProgress::Phase::starting;
      activity_->show(isStarting ? "" : describe(progress));
    }
  }

  void ended(const PlannedAction& action, const PatchActionResult& result,
             const std::optional<std::vector<std::string>>& logLines) override {
    activity_.reset();
    ++counts_[static_cast<std::size_t>(result.outcome)];
    const std::string code = printable(action.actionID.code());
    const std::string actionName = printable(describe(action.actionID));
    std::string seconds = platform::decimalText(timeGone(), 2) + " s";
    seconds.insert(0, kTimeWidth - std::min(kTimeWidth, seconds.size()), ' ');
    console_.write(columns_.row({{code},
                                 {actionName},
                                 {name(result.outcome), styleOf(result.outcome)},
                                 {std::move(seconds), Style::faint},
                                 {reason(result)}}));
    if (logLines) {
      explanations_ += text(
          '\n',
          console_.styled(text(code, ' ', actionName, ": ", name(result.outcome)), Style::bold),
          '\n');
      for (const std::string& line : *logLines) {
        explanations_ += text("  ", printable(line), '\n');
      }
    }
  }

  void closed(std::size_t notRun) override {
    std::string summary;
    for (const Outcome outcome : {Outcome::success, Outcome::applyLater, Outcome::failure}) {
      if (const std::size_t count = counts_[static_cast<std::size_t>(outcome)]; count > 0) {
        summary += text(summary.empty() ? "" : ", ", count, ' ',
                        console_.styled(name(outcome), styleOf(outcome)));
      }
    }
    if (notRun > 0) {
      summary += text(", ", notRun, " not run");
    }
    if (!summary.empty()) {
      console_.write(summary + "\n" + explanations_);
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

  enum Column : std::uint8_t { kCode, kAction, kResult };
  static constexpr std::size_t kTimeWidth = std::string_view("     TIME").size();

  Console& console_;
  Columns columns_;
  std::optional<Console::Activity> activity_;  // of the running action
  std::array<std::size_t, 3> counts_{};        // by outcome
  std::string explanations_;                   // shown below the table
};

}  // namespace

std::shared_ptr<RunReport> makeTableReport(Console& console) {
  return std::make_shared<TableReport>(console);
}

std::shared_ptr<RunReport> makeJSONReport(Console& console) {
  return std::make_shared<JSONReport>(console);
}

}  // namespace agent_tool
