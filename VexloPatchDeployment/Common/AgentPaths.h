// Paths of the agent's files: a directory of the agent with a fixed tail.
#pragma once
#include <string>
#include <string_view>

namespace vexlo {

/// The agent's base, data or log directory with `tail` appended unchanged (its leading "/"
/// included, nothing inserted at the joint). A directory that the agent has not set is empty.
[[nodiscard]] std::string agentBaseFile(std::string_view tail);
[[nodiscard]] std::string agentDataFile(std::string_view tail);
[[nodiscard]] std::string agentLogFile(std::string_view tail);

/// The patch data file, which holds the agent's settings for this library.
[[nodiscard]] std::string patchDataFile();

}  // namespace vexlo
