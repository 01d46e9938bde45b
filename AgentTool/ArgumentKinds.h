// The formats of arguments.
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "AgentTool/Finding.h"
#include "VexloPatchDeployment/Common/KnownActions.h"

namespace agent_tool {

/// A regular expression for the JSON Schema. `problemWith` reports whatever it rejects.
[[nodiscard]] std::string_view patternOf(vexlo::ArgumentKind kind);

struct ArgumentProblem {
  FindingKind kind;
  std::string text;
};
/// What is wrong with an argument; absent if it is fine.
[[nodiscard]] std::optional<ArgumentProblem> problemWith(vexlo::ArgumentKind kind,
                                                         std::string_view argument);

/// The consequence of a missing or unusable argument.
inline constexpr std::string_view kAppliesLater =
    "the action answers applyLater(inSufficientArguments) wherever it applies";

}  // namespace agent_tool
