#include "AgentTool/MeasurementJSON.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "AgentTool/JSONPieces.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

namespace agent_tool {
namespace {

using vexlo::DecidingRule;
using vexlo::PromptMeasurement;

std::string_view nameOf(vexlo::BatteryMeasurement::Source source) {
  using Source = vexlo::BatteryMeasurement::Source;
  switch (source) {
    case Source::battery:
      return "battery";
    case Source::mains:
      return "mains";
    case Source::unknown:
      return "unknown";
  }
  std::unreachable();
}

std::string_view nameOf(PromptMeasurement::Answer answer) {
  switch (answer) {
    case PromptMeasurement::Answer::agreed:
      return "agreed";
    case PromptMeasurement::Answer::declined:
      return "declined";
    case PromptMeasurement::Answer::none:
      return "none";
    case PromptMeasurement::Answer::notShown:
      return "notShown";
    case PromptMeasurement::Answer::notAsked:
      return "notAsked";
  }
  std::unreachable();
}

std::string_view nameOf(vexlo::ToolRunMeasurement::Step step) {
  using Step = vexlo::ToolRunMeasurement::Step;
  switch (step) {
    case Step::download:
      return "download";
    case Step::installation:
      return "installation";
    case Step::upgrade:
      return "upgrade";
  }
  std::unreachable();
}

std::string_view nameOf(DecidingRule rule) {
  switch (rule) {
    case DecidingRule::notInPlan:
      return "notInPlan";
    case DecidingRule::undefinedAction:
      return "undefinedAction";
    case DecidingRule::notImplemented:
      return "notImplemented";
    case DecidingRule::otherProcessor:
      return "otherProcessor";
    case DecidingRule::patchedThroughMDM:
      return "patchedThroughMDM";
    case DecidingRule::notEnrolled:
      return "notEnrolled";
    case DecidingRule::deferralCheckDisabled:
      return "deferralCheckDisabled";
    case DecidingRule::killWithoutAsking:
      return "killWithoutAsking";
    case DecidingRule::promptDisabled:
      return "promptDisabled";
    case DecidingRule::applicationsUnnamed:
      return "applicationsUnnamed";
  }
  std::unreachable();
}

std::string numberOrNull(std::optional<std::int64_t> number) {
  return number ? std::to_string(*number) : "null";
}

std::string booleanOrNull(std::optional<bool> value) {
  return !value ? "null" : *value ? "true" : "false";
}

JSONObject objectOf(const vexlo::BatteryMeasurement& battery) {
  const bool hasLevel = battery.source == vexlo::BatteryMeasurement::Source::battery;
  return JSONObject()
      .addString("kind", "battery")
      .addString("source", nameOf(battery.source))
      .addJSON("percentage", hasLevel ? std::to_string(battery.percentage) : "null")
      .addJSON("neededPercentage", std::to_string(battery.neededPercentage));
}

JSONObject objectOf(const vexlo::DiskSpaceMeasurement& disk) {
  return JSONObject()
      .addString("kind", "diskSpace")
      .addJSON("freeBytes", numberOrNull(disk.freeBytes))
      .addJSON("neededBytes", std::to_string(disk.neededBytes));
}

JSONObject objectOf(const vexlo::ConsoleUserMeasurement& console) {
  return JSONObject().addString("kind", "consoleUser").addJSON("user", jsonOptional(console.user));
}

JSONObject objectOf(const vexlo::LoggedOnUsersMeasurement& loggedOn) {
  return JSONObject().addString("kind", "loggedOnUsers").addJSON("users", jsonList(loggedOn.users));
}

JSONObject objectOf(const vexlo::UpdateServiceUnreachable& service) {
  return JSONObject()
      .addString("kind", "updateServiceUnreachable")
      .addJSON("exitCode", std::to_string(service.exitCode));
}

JSONObject objectOf(const vexlo::DeferralMeasurement& deferral) {
  return JSONObject()
      .addString("kind", "deferral")
      .addString("version", deferral.version)
      .addJSON("isDeferred", booleanOrNull(deferral.isDeferred))
      .addJSON("until", jsonOptional(deferral.until));
}

JSONObject objectOf(const vexlo::RunningApplicationsMeasurement& running) {
  std::vector<std::string> applications;
  applications.reserve(running.applications.size());
  for (const auto& [bundleID, name] : running.applications) {
    applications.push_back(
        JSONObject().addString("bundleID", bundleID).addString("name", name).done());
  }
  return JSONObject()
      .addString("kind", "runningApplications")
      .addJSON("applications", jsonArray(applications));
}

JSONObject objectOf(const PromptMeasurement& prompt) {
  return JSONObject()
      .addString("kind", "prompt")
      .addString("decision", describe(prompt.decision))
      .addString("answer", nameOf(prompt.answer))
      .addJSON("postponementsLeft", numberOrNull(prompt.postponementsLeft));
}

JSONObject objectOf(const vexlo::ToolRunMeasurement& run) {
  return JSONObject()
      .addString("kind", "toolRun")
      .addString("step", nameOf(run.step))
      .addString("subject", run.subject)
      .addJSON("exitCode", std::to_string(run.exitCode))
      .addString("lastLine", run.lastLine);
}

JSONObject objectOf(const vexlo::UpdateNotListed& update) {
  return JSONObject().addString("kind", "updateNotListed").addString("build", update.build);
}

JSONObject objectOf(const vexlo::UnusableArguments& arguments) {
  return JSONObject()
      .addString("kind", "unusableArguments")
      .addString("expected", arguments.expected)
      .addJSON("found", jsonOptional(arguments.found));
}

JSONObject objectOf(DecidingRule rule) {
  return JSONObject().addString("kind", "rule").addString("rule", nameOf(rule));
}

}  // namespace

std::string measurementsAsJSON(std::span<const vexlo::Measurement> measurements) {
  std::vector<std::string> objects;
  objects.reserve(measurements.size());
  for (const vexlo::Measurement& measurement : measurements) {
    objects.push_back(
        std::visit([](const auto& one) { return objectOf(one).done(); }, measurement));
  }
  return jsonArray(objects);
}

}  // namespace agent_tool
