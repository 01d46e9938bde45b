// What the arguments of actions must look like.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "AgentTool/Finding.h"
#include "VexloPatchDeployment/Common/KnownActions.h"

namespace agent_tool {

/// A regular expression for the JSON Schema. What it refuses `problemWith` has something to say
/// about.
[[nodiscard]] std::string_view patternOf(vexlo::ArgumentKind kind);

struct ArgumentProblem {
  FindingKind kind;
  std::string text;
};
/// What is wrong or odd about an argument; absent when it is in order.
[[nodiscard]] std::optional<ArgumentProblem> problemWith(vexlo::ArgumentKind kind,
                                                         std::string_view argument);

/// What comes of a missing or unusable argument.
inline constexpr std::string_view kAppliesLater =
    "the action answers applyLater(inSufficientArguments) wherever it applies";

}  // namespace agent_tool
