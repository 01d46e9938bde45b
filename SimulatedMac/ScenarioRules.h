// The sections and keys that a scenario may have, and the form of each value.
#pragma once
#include <string>
#include <string_view>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Whether the section scripts a tool, as a list of steps.
[[nodiscard]] bool isToolSection(std::string_view section);

// Each of these returns what is wrong, as part of a message, or an empty string.

/// Whether scenarios have such a section.
[[nodiscard]] std::string sectionProblem(std::string_view section);
/// Whether the section, a known one, has such a key.
[[nodiscard]] std::string keyProblem(std::string_view section, std::string_view name);
/// Whether the value has the form that its key, a known one, requires.
[[nodiscard]] std::string valueProblem(std::string_view section, const Setting& setting);

}  // namespace simulated_mac
