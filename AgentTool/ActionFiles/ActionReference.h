// Documents the actions, using the library's table.
#pragma once
#include <string>

#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool {

/// The list of all actions, for a terminal.
[[nodiscard]] std::string listOfActions();
/// The documentation of one action, for a terminal.
[[nodiscard]] std::string explanationOf(const vexlo::KnownActionRow& action);

/// The list and the documentation of all actions, as sections of a Markdown page.
[[nodiscard]] std::string actionsAsMarkdown();

/// The JSON members of all measurements, as a Markdown table.
[[nodiscard]] std::string measurementsAsMarkdown();

/// The JSON Schema (2020-12) of the action file.
[[nodiscard]] std::string actionFileSchema();

}  // namespace agent_tool
