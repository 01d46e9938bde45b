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
  for (std::size_t part = 0; part + 1 < version.size(); ++part) {
    const auto [rest, error] = std::from_chars(at, end, version[part]);
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

bool installs(const vexlo::ActionID& action) {
  return action == vexlo::KnownAction::installMacOSUpdates;
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
    actions_.push_back({.actionID = actionID,
                        .code = std::string(actionID.code()),
                        .name = describe(actionID),
                        .arguments = {arguments.begin(), arguments.end()}});
  }
  for (const Action& action : actions_) {
    const bool checksDeferral = action.actionID == vexlo::KnownAction::macOSDeferCheck;
    if ((checksDeferral || installs(action.actionID)) && !action.arguments.empty() &&
        (versionedAction_ == nullptr || !checksDeferral)) {
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
  auto& [counted, name, next, measured] = prediction_;
  counted.outcome = Prediction::success;
  counted.code.clear();
  counted.reason.clear();
  counted.acted.clear();
  name = {};
  next.clear();
  measured = "[]";
  for (const Action& action : actions_) {
    const Evaluation& evaluation = evaluator_.evaluate(action.actionID);
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

void WhatIf::keep(const Action& action, const Evaluation& evaluation) {
  FleetPrediction& counted = prediction_.counted;
  counted.outcome = evaluation.prediction;
  counted.code = action.code;
  counted.reason.clear();
  if (evaluation.result && evaluation.result->description) {
    counted.reason = name(*evaluation.result->description);
  }
  prediction_.action = action.name;
  prediction_.next = evaluation.next;
  prediction_.measured = vexlo::measurementsAsJSON(evaluation.measurements);
}

std::vector<FleetAction> WhatIf::actions() const {
  std::vector<FleetAction> actions;
  actions.reserve(actions_.size());
  for (const Action& action : actions_) {
    actions.push_back({.code = action.code, .arguments = action.arguments});
  }
  return actions;
}

}  // namespace agent_tool
