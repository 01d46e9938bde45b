// The formats of arguments.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool {

/// A regular expression for the JSON Schema. `problemWith` reports whatever it rejects.
[[nodiscard]] std::string patternOf(const vexlo::ActionArgument& argument);

struct ArgumentProblem {
  bool isUsable;  ///< The action can parse the value.
  std::string text;
};
/// What is wrong with a value given for an argument; absent if it is fine.
[[nodiscard]] std::optional<ArgumentProblem> problemWith(const vexlo::ActionArgument& argument,
                                                         std::string_view value);

[[nodiscard]] bool hasBlanksAround(std::string_view text);

/// The macOS version in a label, such as "14.5" in "macOS Sonoma 14.5-23F79"; empty if there is
/// none.
[[nodiscard]] std::string_view versionInLabel(std::string_view label);

/// The consequence of a missing or unusable argument.
inline constexpr std::string_view kAppliesLater =
    "the action returns applyLater(inSufficientArguments) for every patch that it applies to";

}  // namespace agent_tool
