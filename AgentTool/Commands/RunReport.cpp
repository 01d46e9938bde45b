#include "AgentTool/Commands/RunReport.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
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
using FileCodec::jsonOptional;
using LogCore::text;
using vexlo::GotUserAcknowledgementForPatchingRunningApplications;
using vexlo::MacOSUpdateIsDeferred;
using vexlo::PatchActionResult;
using vexlo::PlainReason;
using Outcome = PatchActionResult::Outcome;

std::string detailAsJSON(const PatchActionResult& result) {
  if (!result.description) {
    return "null";
  }
  return std::visit(
      vexlo::Overloaded{
          [](const MacOSUpdateIsDeferred& deferred) { return jsonOptional(deferred.until); },
          [](const GotUserAcknowledgementForPatchingRunningApplications& acknowledged) {
            return jsonMap(acknowledged.applications);
          },
          [](PlainReason) { return std::string("null"); }},
      *result.description);
}

/// Whether running applications were closed although the user had not agreed; the result alone
/// reads as if the user had.
bool isForced(const EndedAction& ended) {
  return std::ranges::any_of(ended.measurements, [](const vexlo::Measurement& measurement) {
    const auto* const prompt = measurement.as<vexlo::PromptMeasurement>();
    return prompt != nullptr &&
           prompt->decision == vexlo::RunningAppPromptDecision::forceDeployment &&
           prompt->answer == vexlo::PromptMeasurement::Answer::none;
  });
}

/// The reason's name and what was measured: «inSufficientBattery: battery 12 %, 30 % needed».
std::string readableReason(const EndedAction& ended) {
  std::string measured = printable(describe(std::span(ended.measurements)));
  if (!ended.result.description || isForced(ended)) {
    return measured;
  }
  const std::string reason = name(*ended.result.description);
  return measured.empty() ? reason : text(reason, ": ", measured);
}

Style styleOf(Outcome outcome) { return verdictOn(predictionOf(outcome)).style; }

class JSONReport final : public RunReport {
 public:
  explicit JSONReport(Console& console) : console_(console) {}

  void began(const std::vector<PlannedAction>& /*actions*/) override {}

  void progressed(const PlannedAction& action, const vexlo::ActionProgress& progress,
                  std::chrono::duration<double> took) override {
    if (lastProgress_ && lastProgress_->phase == progress.phase &&
        took - lastProgress_->at < kBetweenProgress) {
      return;
    }
    lastProgress_ = {.phase = progress.phase, .at = took};
    const std::string percent =
        progress.percent ? platform::decimalText(*progress.percent, 2) : "null";
    console_.write(JSONObject()
                       .addString("event", "progress")
                       .addString("name", describe(action.actionID))
                       .addString("code", action.actionID.code())
                       .addJSON("progress", JSONObject()
                                                .addString("phase", name(progress.phase))
                                                .addJSON("percent", percent)
                                                .addString("line", progress.line)
                                                .done())
                       .addJSON("seconds", platform::decimalText(took.count(), 3))
                       .done() +
                   '\n');
  }

  void ended(const EndedAction& ended) override {
    lastProgress_.reset();
    const auto& [action, result, measurements, logLines, took] = ended;
    const auto description =
        result.description.transform([](const auto& why) { return name(why); });
    JSONObject line;
    line.addString("event", "result")
        .addString("name", describe(action.actionID))
        .addString("code", action.actionID.code())
        .addJSON("arguments", jsonList(action.arguments))
        .addString("result", name(result.outcome))
        .addJSON("description", jsonOptional(description))
        .addJSON("detail", detailAsJSON(result))
        .addString("why", describe(std::span(measurements)))
        .addJSON("measured", vexlo::measurementsAsJSON(measurements))
        .addJSON("seconds", platform::decimalText(took.count(), 3));
    if (logLines) {
      line.addJSON("log", jsonList(*logLines));
    }
    console_.write(line.done() + '\n');
  }

  void closed(std::size_t /*notRun*/) override {}

 private:
  static constexpr std::chrono::seconds kBetweenProgress{1};
  struct Progress {
    vexlo::ActionProgress::Phase phase;
    std::chrono::duration<double> at;
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

  void ended(const EndedAction& ended) override {
    const auto& [action, result, measurements, logLines, took] = ended;
    ++counts_[static_cast<std::size_t>(result.outcome)];
    std::string seconds = platform::decimalText(took.count(), 2) + " s";
    seconds.insert(0, kTimeWidth - std::min(kTimeWidth, seconds.size()), ' ');
    console_.write(columns_.row({{printable(action.actionID.code())},
                                 {printable(describe(action.actionID))},
                                 {name(result.outcome), styleOf(result.outcome)},
                                 {std::move(seconds), Style::faint},
                                 {readableReason(ended)}}));
    if (logLines) {
      explanations_ += text(
          '\n',
          console_.styled(text(printable(action.actionID.code()), ' ',
                               printable(describe(action.actionID)), ": ", name(result.outcome)),
                          Style::bold),
          '\n');
      for (const std::string& line : *logLines) {
        explanations_ += text("  ", printable(line), '\n');
      }
    }
  }

  // The activity line shows it.
  void progressed(const PlannedAction& /*action*/, const vexlo::ActionProgress& /*progress*/,
                  std::chrono::duration<double> /*took*/) override {}

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
  enum Column : std::uint8_t { kCode, kAction, kResult };
  static constexpr std::size_t kTimeWidth = std::string_view("     TIME").size();

  Console& console_;
  Columns columns_;
  std::array<std::size_t, 3> counts_{};  // by outcome
  std::string explanations_;             // shown below the table
};

}  // namespace

std::unique_ptr<RunReport> makeTableReport(Console& console) {
  return std::make_unique<TableReport>(console);
}

std::unique_ptr<RunReport> makeJSONReport(Console& console) {
  return std::make_unique<JSONReport>(console);
}

}  // namespace agent_tool
