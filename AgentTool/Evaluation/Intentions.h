// Records what the library would do to the machine.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentTool/Evaluation/Prediction.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

namespace agent_tool {

/// The intentions of one action. The first one determines `next()`; the others would follow it.
/// Reuses its memory for the next action. Not thread-safe.
class Intentions {
 public:
  void clear();

  void recordPrompt(const std::vector<std::string>& applications,
                    const vexlo::RunningAppPromptEvaluation& evaluation);
  void recordKill(const std::vector<std::string>& applications);
  /// `command` must not contain a password.
  void recordRun(std::string command);
  /// A command that is known to fail: it is not an intention by itself.
  void recordFailingRun(std::string command) { commands_.push_back(std::move(command)); }
  void recordUnasked(std::string_view question);
  /// A success without any intention depends on `question`.
  void recordDoubt(std::string_view question);

  /// What the first intention predicts; absent if the library would only have read.
  [[nodiscard]] std::optional<Prediction> next() const noexcept { return next_; }
  /// Display names of the applications that the prompt would show or that would be killed.
  [[nodiscard]] const std::vector<std::string>& applications() const noexcept {
    return applications_;
  }
  /// How the user would be prompted.
  [[nodiscard]] const vexlo::RunningAppPromptEvaluation& evaluation() const noexcept {
    return evaluation_;
  }
  /// The command lines that would run in sequence until one fails.
  [[nodiscard]] const std::vector<std::string>& commands() const noexcept { return commands_; }
  /// What was not asked.
  [[nodiscard]] const std::string& question() const noexcept { return question_; }
  /// What a success without any intention depends on; empty if nothing.
  [[nodiscard]] const std::string& doubt() const noexcept { return doubt_; }

 private:
  /// Sets `next()` if this is the first intention; returns whether it is.
  bool isFirst(Prediction next);

  std::optional<Prediction> next_;
  std::vector<std::string> applications_;
  vexlo::RunningAppPromptEvaluation evaluation_;
  std::vector<std::string> commands_;
  std::string question_;
  std::string doubt_;
};

}  // namespace agent_tool
