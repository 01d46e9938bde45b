#include "VexloPatchDeployment/Common/ActionObserver.h"

#include <cmath>
#include <ostream>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace vexlo {
namespace {

constexpr std::int64_t kBytesPerMegabyte = 1'000'000;
constexpr std::int64_t kBytesPerTenthOfGigabyte = 100'000'000;
constexpr std::int64_t kTenths = 10;

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

std::string describeOne(const DiskSpaceMeasurement& disk) {
  return disk.freeBytes
             ? text(sizeText(*disk.freeBytes), " free, ", sizeText(disk.neededBytes), " needed")
             : "free space unknown, counts as sufficient";
}

std::string describeOne(const ConsoleUserMeasurement& console) {
  return console.user.value_or("nobody") + " at the console";
}

std::string describeOne(const LoggedOnUsersMeasurement& loggedOn) {
  std::string out;
  for (const std::string& user : loggedOn.users) {
    out += text(out.empty() ? "" : ", ", user);
  }
  return (loggedOn.users.empty() ? "nobody" : out) + " logged on";
}

std::string describeOne(const UpdateServiceUnreachable& service) {
  return text("Apple's update service can't be reached, softwareupdate ended with status ",
              service.exitCode);
}

std::string describeOne(const DeferralMeasurement& deferral) {
  if (!deferral.isDeferred) {
    return "the MDM client doesn't tell the deferrals";
  }
  if (!*deferral.isDeferred) {
    return text("macOS ", deferral.version, " not deferred");
  }
  return deferral.until ? "deferred until " + *deferral.until : "deferred, date unreadable";
}

std::string describeOne(const RunningApplicationsMeasurement& running) {
  std::string out;
  for (const auto& application : running.applications) {
    out += text(out.empty() ? "" : ", ", application.name);
  }
  return (out.empty() ? "none" : out) + " running";
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

std::string_view stepName(ToolRunMeasurement::Step step) {
  switch (step) {
    case ToolRunMeasurement::Step::download:
      return "download";
    case ToolRunMeasurement::Step::installation:
      return "installation";
    case ToolRunMeasurement::Step::upgrade:
      return "upgrade";
  }
  std::unreachable();
}

std::string describeOne(const ToolRunMeasurement& run) {
  std::string out = text(stepName(run.step), " ended with status ", run.exitCode);
  return run.lastLine.empty() ? out : text(out, ", \"", run.lastLine, '"');
}

std::string describeOne(const UpdateNotListed& update) {
  return text("softwareupdate lists no ", update.build);
}

std::string describeOne(const UnusableArguments& arguments) {
  return arguments.found
             ? text(arguments.expected, ": \"", *arguments.found, "\" is no whole number")
             : text("no ", arguments.expected, " given");
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
      return "not checked, switched off in the settings";
    case DecidingRule::killWithoutAsking:
      return "closed without asking";
    case DecidingRule::promptDisabled:
      return "prompts are off";
    case DecidingRule::applicationsUnnamed:
      return "can't be named, counts as not running";
  }
  std::unreachable();
}

}  // namespace

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

ActionObserver::~ActionObserver() = default;
void ActionObserver::measured(const ActionID& /*action*/, const Measurement& /*measurement*/) {}
void ActionObserver::progressed(const ActionID& /*action*/, const ActionProgress& /*progress*/) {}

std::string_view name(ActionProgress::Phase phase) {
  switch (phase) {
    case ActionProgress::Phase::starting:
      return "starting";
    case ActionProgress::Phase::searching:
      return "searching";
    case ActionProgress::Phase::downloading:
      return "downloading";
    case ActionProgress::Phase::preparing:
      return "preparing";
    case ActionProgress::Phase::installing:
      return "installing";
  }
  std::unreachable();
}

std::string describe(const ActionProgress& progress) {
  return progress.percent
             ? text(name(progress.phase), ' ', static_cast<std::int64_t>(*progress.percent), " %")
             : std::string(name(progress.phase));
}

}  // namespace vexlo
