#include "VexloPatchDeployment/Common/Measurement.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

using FileCodec::jsonArray;
using FileCodec::jsonList;
using FileCodec::JSONObject;
using FileCodec::jsonOptional;

constexpr std::int64_t kBytesPerMegabyte = 1'000'000;
constexpr std::int64_t kBytesPerTenthOfGigabyte = 100'000'000;
constexpr std::int64_t kTenths = 10;

std::string numberOrNull(std::optional<std::int64_t> number) {
  return number ? std::to_string(*number) : "null";
}

std::string booleanOrNull(std::optional<bool> value) {
  return !value ? "null" : *value ? "true" : "false";
}

// Of each measurement: a few words, and its JSON.

std::string_view nameOf(BatteryMeasurement::Source source) {
  using Source = BatteryMeasurement::Source;
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

std::string describeOne(const BatteryMeasurement& battery) {
  switch (battery.source) {
    case BatteryMeasurement::Source::battery:
      return text("battery ", battery.percentage, " %, ", battery.neededPercentage, " % needed");
    case BatteryMeasurement::Source::mains:
      return "on mains power";
    case BatteryMeasurement::Source::unknown:
      return "power source unknown, counts as sufficient";
  }
  std::unreachable();
}

JSONObject objectOf(const BatteryMeasurement& battery) {
  const bool hasLevel = battery.source == BatteryMeasurement::Source::battery;
  return JSONObject()
      .addString("kind", "battery")
      .addString("source", nameOf(battery.source))
      .addJSON("percentage", hasLevel ? std::to_string(battery.percentage) : "null")
      .addJSON("neededPercentage", std::to_string(battery.neededPercentage));
}

/// «84.1 GB», «90 GB», «50 MB»: truncated, so that too little never looks like enough.
std::string sizeText(std::int64_t bytes) {
  const std::int64_t tenths = bytes / kBytesPerTenthOfGigabyte;
  if (tenths > -kTenths && tenths < kTenths) {
    const std::int64_t megabytes = bytes / kBytesPerMegabyte;
    return megabytes == 0 ? "0 GB" : text(megabytes, " MB");
  }
  const std::int64_t tenth = std::abs(tenths % kTenths);
  return tenth == 0 ? text(tenths / kTenths, " GB") : text(tenths / kTenths, '.', tenth, " GB");
}

std::string describeOne(const DiskSpaceMeasurement& disk) {
  return disk.freeBytes
             ? text(sizeText(*disk.freeBytes), " free, ", sizeText(disk.neededBytes), " needed")
             : "free space unknown, counts as sufficient";
}

JSONObject objectOf(const DiskSpaceMeasurement& disk) {
  return JSONObject()
      .addString("kind", "diskSpace")
      .addJSON("freeBytes", numberOrNull(disk.freeBytes))
      .addJSON("neededBytes", std::to_string(disk.neededBytes));
}

std::string describeOne(const ConsoleUserMeasurement& console) {
  return console.user.value_or("nobody") + " at the console";
}

JSONObject objectOf(const ConsoleUserMeasurement& console) {
  return JSONObject().addString("kind", "consoleUser").addJSON("user", jsonOptional(console.user));
}

std::string describeOne(const LoggedOnUsersMeasurement& loggedOn) {
  std::string out;
  for (const std::string& user : loggedOn.users) {
    out += text(out.empty() ? "" : ", ", user);
  }
  return (loggedOn.users.empty() ? "nobody" : out) + " logged on";
}

JSONObject objectOf(const LoggedOnUsersMeasurement& loggedOn) {
  return JSONObject().addString("kind", "loggedOnUsers").addJSON("users", jsonList(loggedOn.users));
}

std::string describeOne(const UpdateServiceUnreachable& service) {
  return text("Apple's update service can't be reached, softwareupdate ended with status ",
              service.exitCode);
}

JSONObject objectOf(const UpdateServiceUnreachable& service) {
  return JSONObject()
      .addString("kind", "updateServiceUnreachable")
      .addJSON("exitCode", std::to_string(service.exitCode));
}

std::string describeOne(const DeferralMeasurement& deferral) {
  if (!deferral.isDeferred) {
    return "the MDM client didn't report deferrals";
  }
  if (!*deferral.isDeferred) {
    return text("macOS ", deferral.version, " not deferred");
  }
  return deferral.until ? "deferred until " + *deferral.until : "deferred, date unreadable";
}

JSONObject objectOf(const DeferralMeasurement& deferral) {
  return JSONObject()
      .addString("kind", "deferral")
      .addString("version", deferral.version)
      .addJSON("isDeferred", booleanOrNull(deferral.isDeferred))
      .addJSON("until", jsonOptional(deferral.until));
}

std::string describeOne(const RunningApplicationsMeasurement& running) {
  std::string out;
  for (const auto& application : running.applications) {
    out += text(out.empty() ? "" : ", ", application.name);
  }
  return (out.empty() ? "none" : out) + " running";
}

JSONObject objectOf(const RunningApplicationsMeasurement& running) {
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

std::string leftText(const std::optional<std::int64_t>& postponements) {
  if (!postponements) {
    return "";
  }
  return text("; ", *postponements, *postponements == 1 ? " postponement" : " postponements",
              " left");
}

std::string describeOne(const PromptMeasurement& prompt) {
  const bool isForced = prompt.decision == RunningAppPromptDecision::forceDeployment;
  if (prompt.decision == RunningAppPromptDecision::skipDeployment) {
    return "no more prompts today";
  }
  switch (prompt.answer) {
    case PromptMeasurement::Answer::agreed:
      return "the user agreed";
    case PromptMeasurement::Answer::declined:
      return "the user declined" + leftText(prompt.postponementsLeft);
    case PromptMeasurement::Answer::none:
      return isForced ? "forced, nobody answered the prompt"
                      : "nobody answered the prompt" + leftText(prompt.postponementsLeft);
    case PromptMeasurement::Answer::notShown:
      return "the prompt can't be shown" + leftText(prompt.postponementsLeft);
    case PromptMeasurement::Answer::notAsked:
      return (isForced ? "forced prompt due" : "prompt due") + leftText(prompt.postponementsLeft);
  }
  std::unreachable();
}

JSONObject objectOf(const PromptMeasurement& prompt) {
  return JSONObject()
      .addString("kind", "prompt")
      .addString("decision", describe(prompt.decision))
      .addString("answer", nameOf(prompt.answer))
      .addJSON("postponementsLeft", numberOrNull(prompt.postponementsLeft));
}

std::string_view nameOf(ToolRunMeasurement::Step step) {
  using Step = ToolRunMeasurement::Step;
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

std::string describeOne(const ToolRunMeasurement& run) {
  std::string out = text(nameOf(run.step), " ended with status ", run.exitCode);
  return run.lastLine.empty() ? out : text(out, ", \"", run.lastLine, '"');
}

JSONObject objectOf(const ToolRunMeasurement& run) {
  return JSONObject()
      .addString("kind", "toolRun")
      .addString("step", nameOf(run.step))
      .addString("subject", run.subject)
      .addJSON("exitCode", std::to_string(run.exitCode))
      .addString("lastLine", run.lastLine);
}

std::string describeOne(const UpdateNotListed& update) {
  return text("softwareupdate lists no ", update.build);
}

JSONObject objectOf(const UpdateNotListed& update) {
  return JSONObject().addString("kind", "updateNotListed").addString("build", update.build);
}

std::string describeOne(const UnusableArguments& arguments) {
  return arguments.found
             ? text(arguments.expected, ": \"", *arguments.found, "\" is not an integer")
             : text("no ", arguments.expected, " given");
}

JSONObject objectOf(const UnusableArguments& arguments) {
  return JSONObject()
      .addString("kind", "unusableArguments")
      .addString("expected", arguments.expected)
      .addJSON("found", jsonOptional(arguments.found));
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

std::string describeOne(DecidingRule rule) {
  switch (rule) {
    case DecidingRule::notInPlan:
      return "doesn't apply to the patch";
    case DecidingRule::undefinedAction:
      return "unknown action, does nothing";
    case DecidingRule::notImplemented:
      return "does nothing";
    case DecidingRule::otherProcessor:
      return "for another processor";
    case DecidingRule::patchedThroughMDM:
      return "not checked, patching through MDM is on";
    case DecidingRule::notEnrolled:
      return "not checked, no MDM enrollment";
    case DecidingRule::deferralCheckDisabled:
      return "not checked, disabled in the settings";
    case DecidingRule::killWithoutAsking:
      return "closed without asking";
    case DecidingRule::promptDisabled:
      return "prompts are off";
    case DecidingRule::applicationsUnnamed:
      return "can't be named, counts as not running";
  }
  std::unreachable();
}

JSONObject objectOf(DecidingRule rule) {
  return JSONObject().addString("kind", "rule").addString("rule", nameOf(rule));
}

}  // namespace

std::string_view describe(RunningAppPromptDecision decision) {
  switch (decision) {
    case RunningAppPromptDecision::promptUser:
      return "promptUser";
    case RunningAppPromptDecision::skipDeployment:
      return "skipDeployment";
    case RunningAppPromptDecision::forceDeployment:
      return "forceDeployment";
  }
  std::unreachable();
}

std::string describe(const Measurement& measurement) {
  return std::visit([](const auto& one) { return describeOne(one); }, measurement);
}

std::string describe(std::span<const Measurement> measurements) {
  std::string out;
  for (const Measurement& measurement : measurements) {
    out += text(out.empty() ? "" : "; ", describe(measurement));
  }
  return out;
}

std::ostream& operator<<(std::ostream& out, const Measurement& measurement) {
  return out << describe(measurement);
}

std::string measurementsAsJSON(std::span<const Measurement> measurements) {
  std::vector<std::string> objects;
  objects.reserve(measurements.size());
  for (const Measurement& measurement : measurements) {
    objects.push_back(
        std::visit([](const auto& one) { return objectOf(one).done(); }, measurement));
  }
  return jsonArray(objects);
}

}  // namespace vexlo
