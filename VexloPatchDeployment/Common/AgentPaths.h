// Paths of the agent's files.
#pragma once
#include <string>
#include <string_view>

namespace vexlo {

/// The agent's base, data or log directory with `tail`, which starts with "/", appended unchanged.
/// A directory that the agent has not set counts as an empty string.
[[nodiscard]] std::string agentBaseFile(std::string_view tail);
[[nodiscard]] std::string agentDataFile(std::string_view tail);
[[nodiscard]] std::string agentLogFile(std::string_view tail);

/// The patch data file, which contains the agent's settings for this library.
[[nodiscard]] std::string patchDataFile();

}  // namespace vexlo
