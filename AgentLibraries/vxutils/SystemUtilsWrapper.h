// Who is at the console and who is logged on.
#pragma once
#include <optional>
#include <string>

namespace vxutils {

/// Stateless: every call asks the system anew.
class SystemUtilsWrapper {
 public:
  /// The short name of the user at the console. "NOUSERNAME" when nobody is, and for names that
  /// are nobody's session: `root`, `loginwindow`, `_mbsetupuser` and the empty one.
  [[nodiscard]] std::string currentConsoleUserWrapper() const;
  /// The names of the users logged on, separated by ","; absent when there are none.
  [[nodiscard]] std::optional<std::string> getLoggedOnUsers() const;
};

}  // namespace vxutils
