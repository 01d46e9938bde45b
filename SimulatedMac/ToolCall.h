// One call of a stand-in tool: its arguments, the scenario, the record, and scripted answers.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Errors of the simulated Mac itself are exceptions.
struct ToolCall {
  std::string tool;
  std::vector<std::string> arguments;  ///< Without the program's name.
  Scenario scenario;                   ///< The effective one.
  std::optional<std::string> input =
      std::nullopt;  ///< All of standard input; absent when not read.

  [[nodiscard]] bool has(std::string_view argument) const;
  /// The argument that follows `option`.
  [[nodiscard]] std::optional<std::string> argumentAfter(std::string_view option) const;

  /// Appends the call to the record file, as one line of JSON in one write, so that concurrent
  /// calls don't mix. Doesn't read standard input, which is for the program that is executed next.
  void record() const;
  /// If the scenario has a section for this call, performs its steps and exits. "NAME 2" is for the
  /// second call and later ones, until "NAME 3", and so on.
  void performScript(const std::string& section) const;
  /// Reads standard input if it is a pipe or a file and the script doesn't leave it unread; records
  /// the call and performs the script.
  void begin(const std::string& section);
};

}  // namespace simulated_mac
