#include "AgentTool/Evaluation/Evaluator.h"

#include <utility>

#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Text.h"

namespace agent_tool {
namespace {

using LogCore::text;

Answer answerFor(vexlo::PatchActionResult::Outcome outcome) {
  switch (outcome) {
    case vexlo::PatchActionResult::Outcome::success:
      return Answer::success;
    case vexlo::PatchActionResult::Outcome::applyLater:
      return Answer::applyLater;
    case vexlo::PatchActionResult::Outcome::failure:
      return Answer::failure;
  }
  std::unreachable();
}

/// «: 2 postponements left»; empty without a limit.
std::string postponements(const Intentions& intentions) {
  const std::int64_t left = intentions.evaluation().remainingSkipAttempts;
  return left < 1 ? "" : text(": ", left, left == 1 ? " postponement left" : " postponements left");
}

}  // namespace

std::string_view name(Answer answer) {
  switch (answer) {
    case Answer::success:
      return "success";
    case Answer::applyLater:
      return "applyLater";
    case Answer::failure:
      return "failure";
    case Answer::wouldAsk:
      return "wouldAsk";
    case Answer::wouldForce:
      return "wouldForce";
    case Answer::wouldKill:
      return "wouldKill";
    case Answer::wouldRun:
      return "wouldRun";
    case Answer::notAsked:
      return "notAsked";
  }
  std::unreachable();
}

bool isResult(Answer answer) noexcept {
  return answer == Answer::success || answer == Answer::applyLater || answer == Answer::failure;
}

std::string nextStep(const Evaluation& evaluation, const Intentions& intentions) {
  switch (evaluation.answer) {
    case Answer::success:
    case Answer::applyLater:
    case Answer::failure:
      return {};
    case Answer::wouldAsk:
      return "would ask" + postponements(intentions);
    case Answer::wouldForce:
      return "would force" + postponements(intentions);
    case Answer::wouldKill:
      return "would kill " + platform::joined(intentions.applications(), ", ");
    case Answer::wouldRun:
      return "would run " + platform::joined(intentions.commands(), ", then ");
    case Answer::notAsked:
      return text("not asked: ", intentions.question());
  }
  std::unreachable();
}

Evaluator::Evaluator(vexlo::PatchIdentifier patch,
                     std::shared_ptr<const vexlo::PatchActionGroup> actionFile,
                     EvaluationSources sources, Intentions& intentions, bool measures)
    : intentions_(intentions),
      processor_(std::move(patch), std::move(actionFile),
                 std::make_unique<EvaluationDependencies>(std::move(sources), intentions)),
      measurements_(std::make_shared<Measurements>(intentions)) {
  if (measures) {
    processor_.setObserver(measurements_);
  }
}

Evaluation Evaluator::evaluate(const vexlo::ActionID& action) {
  intentions_.clear();
  measurements_->kept.clear();
  vexlo::PatchActionResult result = processor_.execute(action);
  if (!intentions_.doubt().empty() && intentions_.next() == Intentions::Next::nothing &&
      result.outcome == vexlo::PatchActionResult::Outcome::success) {
    intentions_.leaveUnasked(intentions_.doubt());
    measurements_->kept.clear();
  }
  const auto answer = [&] {
    switch (intentions_.next()) {
      case Intentions::Next::nothing:
        return answerFor(result.outcome);
      case Intentions::Next::ask:
        return Answer::wouldAsk;
      case Intentions::Next::force:
        return Answer::wouldForce;
      case Intentions::Next::kill:
        return Answer::wouldKill;
      case Intentions::Next::run:
        return Answer::wouldRun;
      case Intentions::Next::notAsked:
        return Answer::notAsked;
    }
    std::unreachable();
  }();
  return {.answer = answer, .result = std::move(result), .measurements = measurements_->kept};
}

void Evaluator::Measurements::measured(const vexlo::ActionID& /*action*/,
                                       const vexlo::Measurement& measurement) {
  if (intentions_.next() == Intentions::Next::nothing) {
    kept.push_back(measurement);
  }
}

}  // namespace agent_tool
