// How the tool ends.
#pragma once
#include <cstdint>

namespace agent_tool {

enum class ExitStatus : std::uint8_t {
  success = 0,
  failure = 1,        ///< An action failed, or the tool could not do its work.
  badUsage = 64,      ///< The command line can't be understood or used.
  unusableFile = 65,  ///< The action file can't be used.
  applyLater = 75,    ///< Something is to be applied later, nothing failed.
};

}  // namespace agent_tool
