// What the library would do to the machine, noted by collaborators that do nothing.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

namespace agent_tool {

/// The notes on one action. The first one that stands in the way of an answer is what comes next;
/// notes after it are what would follow. Memory is used again from action to action. For one thread
/// at a time.
class Intentions {
 public:
  enum class Next : std::uint8_t {
    nothing,   ///< The library would only have read.
    ask,       ///< It would prompt the user; no answer counts as no.
    force,     ///< It would prompt the user; no answer counts as yes.
    kill,      ///< It would kill applications.
    run,       ///< It would run commands.
    notAsked,  ///< It would have asked something that this evaluation may not ask or can't know.
  };

  void clear();

  void prompt(const std::vector<std::string>& applications,
              const vexlo::RunningAppPromptEvaluation& evaluation);
  void kill(const std::vector<std::string>& applications);
  /// `command` holds no password.
  void run(std::string command);
  void leaveUnasked(std::string_view question);
  /// The answer depends on `question` where it says that nothing stands in the way.
  void doubt(std::string_view question);

  [[nodiscard]] Next next() const noexcept { return next_; }
  /// Display names of the applications that the user would be asked about, or that would be killed.
  [[nodiscard]] const std::vector<std::string>& applications() const noexcept {
    return applications_;
  }
  /// How the user would be prompted.
  [[nodiscard]] const vexlo::RunningAppPromptEvaluation& evaluation() const noexcept {
    return evaluation_;
  }
  /// The command lines that would run one after the other, each if the one before succeeds.
  [[nodiscard]] const std::vector<std::string>& commands() const noexcept { return commands_; }
  /// What was not asked.
  [[nodiscard]] const std::string& doubt() const noexcept { return doubt_; }
  [[nodiscard]] const std::string& question() const noexcept { return question_; }

 private:
  /// Whether this is the first note.
  bool isFirst(Next next);

  Next next_ = Next::nothing;
  std::vector<std::string> applications_;
  vexlo::RunningAppPromptEvaluation evaluation_;
  std::vector<std::string> commands_;
  std::string question_;
  std::string doubt_;
};

}  // namespace agent_tool
