#include "AgentTool/Fleet/WhatIf.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <system_error>

#include "VexloPatchDeployment/Common/Measurement.h"
#include "VexloPatchDeployment/PatchActions/Helpers/PatchActionProvider.h"

namespace agent_tool {
namespace {

/// The numbers of «26.3.1 (a)», with the letter as the last one.
using Version = std::array<std::int64_t, 4>;

/// Absent unless the text begins with a number.
std::optional<Version> versionIn(std::string_view text) {
  Version version{};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::int64_t& number : std::span(version).first(3)) {
    const auto [rest, error] = std::from_chars(at, end, number);
    if (error != std::errc()) {
      return std::nullopt;
    }
    at = rest;
    if (at == end || *at != '.') {
      break;
    }
    ++at;
  }
  if (const std::string_view rest(at, end); rest.starts_with(" (") && rest.size() > 2) {
    version.back() = static_cast<unsigned char>(rest[2]);
  }
  return version;
}

/// Whether Apple's tools list the update for the machine, as far as is known.
bool isOffered(std::span<const std::string> arguments, const Facts& facts) {
  const bool hasLabel = arguments.size() > 1 && facts.softwareUpdateLabels;
  if (!hasLabel && !facts.availableOSUpdates) {
    return true;
  }
  const auto build = [&] { return arguments[1].substr(arguments[1].rfind(' ') + 1); };
  return (hasLabel &&
          std::ranges::any_of(*facts.softwareUpdateLabels,
                              [&](const std::string& label) { return label.contains(build()); })) ||
         (facts.availableOSUpdates &&
          std::ranges::any_of(*facts.availableOSUpdates, [&](const vexlo::AvailableOSUpdate& each) {
            return each.version == arguments[0];
          }));
}

}  // namespace

WhatIf::WhatIf(const vexlo::PatchIdentifier& patch,
               const std::shared_ptr<const vexlo::PatchActionGroup>& actionFile)
    : evaluator_(patch, actionFile) {
  for (const auto& [actionID, arguments, origin] :
       vexlo::PatchActionProvider(patch, actionFile).actionDetails()) {
    actions_.push_back(
        {.code = std::string(actionID.code()), .arguments = {arguments.begin(), arguments.end()}});
  }
  for (const FleetAction& action : actions_) {
    const vexlo::ActionID actionID(action.code);
    const bool installs = actionID == vexlo::KnownAction::installMacOSUpdates;
    if ((installs || actionID == vexlo::KnownAction::macOSDeferCheck) &&
        !action.arguments.empty() && (installs || versionedAction_ == nullptr)) {
      versionedAction_ = &action;  // the installation's, if there is one
    }
  }
}

Update WhatIf::update(const Facts& facts) const {
  if (versionedAction_ == nullptr) {
    return Update::unknown;
  }
  const std::vector<std::string>& arguments = versionedAction_->arguments;
  const std::optional<Version> wanted = versionIn(arguments.front());
  const std::optional<Version> present = facts.macOSVersion.and_then(versionIn);
  if (!wanted || !present) {
    return Update::unknown;
  }
  if (*present >= *wanted) {
    return Update::alreadyCurrent;
  }
  if (!isOffered(arguments, facts)) {
    return Update::notOffered;
  }
  return present->front() < wanted->front() ? Update::majorUpgrade : Update::minorUpdate;
}

const MachinePrediction& WhatIf::predict(const Facts& facts) {
  evaluator_.use(facts);
  prediction_ = {};
  FleetPrediction& counted = prediction_.counted;
  for (const FleetAction& action : actions_) {
    const Evaluation& evaluation = evaluator_.evaluate(vexlo::ActionID(action.code));
    if (verdictOn(evaluation.prediction).stopsPatch) {
      keep(action, evaluation);
      return prediction_;
    }
    if (evaluation.prediction != Prediction::success && counted.outcome == Prediction::success) {
      keep(action, evaluation);
    }
    if (!rowOf(evaluation.prediction).act.empty()) {
      counted.acted.push_back({action.code, evaluation.prediction});
    }
  }
  counted.acted.clear();
  return prediction_;
}

void WhatIf::keep(const FleetAction& action, const Evaluation& evaluation) {
  prediction_.counted.outcome = evaluation.prediction;
  prediction_.counted.code = action.code;
  prediction_.counted.reason = evaluation.reason();
  prediction_.next = evaluation.next;
  prediction_.measured = vexlo::measurementsAsJSON(evaluation.measurements);
}

}  // namespace agent_tool
