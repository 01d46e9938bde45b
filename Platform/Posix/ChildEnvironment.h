// The environment of child processes.
#pragma once
#include <string>
#include <vector>

namespace platform {

/// The complete environment of a child, as «NAME=value». It is built from scratch, so that the
/// agent's environment can't choose which programs its tools find, load or interpret. PATH lists
/// the system's directories; HOME, USER and LOGNAME are those of the process's user; TMPDIR is the
/// system's temporary directory. LANG and LC_* are copied if they are locale names.
[[nodiscard]] std::vector<std::string> childEnvironment();

}  // namespace platform
