// The environment that child processes get.
#pragma once
#include <string>
#include <vector>

namespace platform {

/// The whole environment of a child, as «NAME=value»: nothing is inherited, so whoever started the
/// agent can't choose which programs its tools find (PATH), load or interpret. PATH names the
/// system's folders; HOME, USER and LOGNAME are those of the process's user, TMPDIR is the system's
/// folder for temporary files. LANG and LC_* are kept when they are names of locales.
[[nodiscard]] std::vector<std::string> childEnvironment();

}  // namespace platform
