// Explains the actions, from the library's table of them.
#pragma once
#include <string>

#include "VexloPatchDeployment/Common/KnownActions.h"

namespace agent_tool {

/// The list of all actions, for a terminal.
[[nodiscard]] std::string listOfActions();
/// All about one action, for a terminal.
[[nodiscard]] std::string explanationOf(vexlo::KnownAction action);

/// The list and all about each action, as the sections of a Markdown page.
[[nodiscard]] std::string actionsAsMarkdown();

/// The JSON Schema (2020-12) of the action file.
[[nodiscard]] std::string actionFileSchema();

}  // namespace agent_tool
