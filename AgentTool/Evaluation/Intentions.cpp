#include "AgentTool/Evaluation/Intentions.h"

#include <utility>

namespace agent_tool {

void Intentions::clear() {
  next_.reset();
  applications_.clear();
  evaluation_ = {};
  commands_.clear();
  question_.clear();
  doubt_.clear();
}

void Intentions::recordPrompt(const std::vector<std::string>& applications,
                              const vexlo::RunningAppPromptEvaluation& evaluation) {
  const bool forces = evaluation.decision == vexlo::RunningAppPromptDecision::forceDeployment;
  if (isFirst(forces ? Prediction::wouldForce : Prediction::wouldAsk)) {
    applications_ = applications;
    evaluation_ = evaluation;
  }
}

void Intentions::recordKill(const std::vector<std::string>& applications) {
  if (isFirst(Prediction::wouldKill)) {
    applications_ = applications;
  }
}

void Intentions::recordRun(std::string command) {
  if (isFirst(Prediction::wouldRun) || next_ == Prediction::wouldRun) {
    commands_.push_back(std::move(command));
  }
}

void Intentions::recordUnasked(std::string_view question) {
  if (isFirst(Prediction::notAsked)) {
    question_ = question;
  }
}

void Intentions::recordDoubt(std::string_view question) {
  if (doubt_.empty()) {
    doubt_ = question;
  }
}

bool Intentions::isFirst(Prediction next) {
  if (next_) {
    return false;
  }
  next_ = next;
  return true;
}

}  // namespace agent_tool
