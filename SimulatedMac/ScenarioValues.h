// How the values of a scenario are written: words, switches, durations.
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulated_mac {

/// The words of a value, separated by spaces. Double quotes keep a word with spaces together.
[[nodiscard]] std::vector<std::string> words(std::string_view value);
/// Whether the value is "yes" or "true".
[[nodiscard]] bool isYes(std::string_view value);
/// The milliseconds in "2 s", "1.5 s" or "300 ms"; absent for anything else.
[[nodiscard]] std::optional<int> milliseconds(std::string_view value);

}  // namespace simulated_mac
