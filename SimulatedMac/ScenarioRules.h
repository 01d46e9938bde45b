// The sections and keys that a scenario may have, and the form of each value.
#pragma once
#include <string>
#include <string_view>

#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// What the name of an application's section begins with; its identifier follows.
inline constexpr std::string_view kApplicationPrefix = "application ";

/// Whether the section scripts a tool, as a list of steps.
[[nodiscard]] bool isToolSection(std::string_view section);

// Both return what is wrong, as part of a message, or an empty string.

/// Checks the name of a section.
[[nodiscard]] std::string sectionProblem(std::string_view section);
/// Checks a key and its value in a known section.
[[nodiscard]] std::string settingProblem(std::string_view section, const Setting& setting);

}  // namespace simulated_mac
