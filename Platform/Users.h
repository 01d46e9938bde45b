// Who uses the machine: the console, the sessions, the accounts.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Whether the name is no person's: that of the system, of its login window or of its assistant.
[[nodiscard]] constexpr bool isNobodysSession(std::string_view user) noexcept {
  return user.empty() || user == "root" || user == "loginwindow" || user == "_mbsetupuser";
}

/// The short name of the user at the console, absent when there is none. macOS says it itself; on
/// Linux it is the owner of /dev/console; else the user of a utmpx entry on the line `console`,
/// else of one on a local terminal. Names that are nobody's session are passed over.
[[nodiscard]] std::optional<std::string> consoleUserName();

/// The distinct users of the session records whose process lives, in their order; empty when nobody
/// is logged on.
[[nodiscard]] std::vector<std::string> loggedOnUserNames();

/// The numeric id of the user that this process acts as.
[[nodiscard]] std::uint32_t ownUserID() noexcept;

struct Account {
  std::string name;
  std::string home;  ///< Its home directory.
};

/// The account that this process acts as; absent when its user has none.
[[nodiscard]] std::optional<Account> ownAccount();

/// The numeric id of a local account; absent when there is none of that name.
[[nodiscard]] std::optional<std::uint32_t> userID(const std::string& name);

}  // namespace platform
