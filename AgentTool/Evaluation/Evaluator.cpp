#include "AgentTool/Evaluation/Evaluator.h"

#include <utility>

#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Text.h"

namespace agent_tool {
namespace {

using LogCore::text;

/// «: 2 postponements left»; empty without a limit.
std::string postponements(const Intentions& intentions) {
  const std::int64_t left = intentions.evaluation().remainingSkipAttempts;
  return left < 1 ? "" : text(": ", left, left == 1 ? " postponement left" : " postponements left");
}

}  // namespace

std::string nextStep(const Evaluation& evaluation, const Intentions& intentions) {
  switch (evaluation.prediction) {
    case Prediction::success:
    case Prediction::applyLater:
    case Prediction::failure:
      return {};
    case Prediction::wouldAsk:
      return "would ask" + postponements(intentions);
    case Prediction::wouldForce:
      return "would force" + postponements(intentions);
    case Prediction::wouldKill:
      return "would kill " + platform::joined(intentions.applications(), ", ");
    case Prediction::wouldRun:
      return "would run " + platform::joined(intentions.commands(), ", then ");
    case Prediction::notAsked:
      return text("not asked: ", intentions.question());
  }
  std::unreachable();
}

Evaluator::Evaluator(vexlo::PatchIdentifier patch,
                     std::shared_ptr<const vexlo::PatchActionGroup> actionFile)
    : ownedDependencies_(std::make_unique<EvaluationDependencies>(intentions_)),
      dependencies_(ownedDependencies_.get()),
      processor_(std::move(patch), std::move(actionFile), std::move(ownedDependencies_)),
      measurements_(std::make_shared<Measurements>(intentions_)) {
  processor_.setObserver(measurements_);
}

Evaluation Evaluator::evaluate(const vexlo::ActionID& action) {
  intentions_.clear();
  measurements_->kept.clear();
  vexlo::PatchActionResult result = processor_.execute(action);
  if (!intentions_.doubt().empty() && !intentions_.next() &&
      result.outcome == vexlo::PatchActionResult::Outcome::success) {
    intentions_.recordUnasked(intentions_.doubt());
    measurements_->kept.clear();
  }
  return {.prediction = intentions_.next().value_or(predictionOf(result.outcome)),
          .result = std::move(result),
          .measurements = measurements_->kept};
}

void Evaluator::Measurements::measured(const vexlo::ActionID& /*action*/,
                                       const vexlo::Measurement& measurement) {
  if (!intentions_.next()) {
    kept.push_back(measurement);
  }
}

}  // namespace agent_tool
