// How the values of a scenario are written: words, durations, what the agent's service holds.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// The words of a value, separated by spaces. Double quotes keep a word with spaces together.
[[nodiscard]] std::vector<std::string> words(std::string_view value);
/// The milliseconds in "2 s", "1.5 s" or "300 ms"; absent for anything else.
[[nodiscard]] std::optional<int> milliseconds(std::string_view value);
/// TEXT from the line `value = KEY TEXT` of the agent's service; absent when there is none.
[[nodiscard]] std::optional<std::string> serviceValue(const Scenario& scenario,
                                                      std::string_view key);

}  // namespace simulated_mac
