// The console user and the logged-on users.
#pragma once
#include <optional>
#include <string>

namespace vxutils {

/// Stateless: asks the system on every call.
class SystemUtilsWrapper {
 public:
  /// The short name of the console user. "NOUSERNAME" if there is none, or for names that don't
  /// belong to a person: `root`, `loginwindow`, `_mbsetupuser` and the empty name.
  [[nodiscard]] std::string currentConsoleUserWrapper() const;
  /// The logged-on users, separated by ","; absent when there are none.
  [[nodiscard]] std::optional<std::string> getLoggedOnUsers() const;
};

}  // namespace vxutils
