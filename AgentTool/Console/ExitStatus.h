// Exit statuses.
#pragma once
#include <cstdint>

namespace agent_tool {

enum class ExitStatus : std::uint8_t {
  success = 0,
  failure = 1,        ///< An action failed, or the tool itself did.
  badLines = 2,       ///< Some lines of facts are unreadable; the others were evaluated.
  badUsage = 64,      ///< The command line is invalid.
  unusableFile = 65,  ///< The action file is unusable.
  noMemory = 71,      ///< The tool didn't get the memory that it needed.
  applyLater = 75,    ///< An action has to be applied later; none failed.
};

}  // namespace agent_tool
