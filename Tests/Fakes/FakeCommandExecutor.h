// Commands that run nowhere.
#pragma once
#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

namespace vexlo {

/// Records every command and answers with the prepared results, first to last.
class FakeCommandExecutor final : public CommandExecutor {
 public:
  struct Call {
    std::string command;
    std::optional<std::string> launchPath;
    std::optional<std::string> pipeInput;
    friend bool operator==(const Call&, const Call&) = default;
  };
  std::deque<CommandResult> answers;
  std::vector<Call> calls;

  CommandResult run(const std::string& command, const std::optional<std::string>& launchPath,
                    const std::optional<std::string>& pipeInput) override {
    calls.push_back({command, launchPath, pipeInput});
    if (answers.empty()) {
      ADD_FAILURE() << "No answer was prepared for: " << command;
      return {.exitCode = -1, .output = {}};
    }
    CommandResult answer = answers.front();
    answers.pop_front();
    return answer;
  }
};

}  // namespace vexlo
