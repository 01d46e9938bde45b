// Which sources the tool was built from.
#pragma once
#include <string_view>

namespace agent_tool {

extern const std::string_view kFullVersion;  ///< "1.0.0", the project's version in CMake.
extern const std::string_view kCommit;       ///< Abbreviated; "unknown" outside a clone.

}  // namespace agent_tool
