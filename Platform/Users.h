// Users of the machine: console user, sessions, accounts.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Whether the name belongs to the system, its login window or its setup assistant rather than to a
/// person.
[[nodiscard]] constexpr bool isSystemAccount(std::string_view user) noexcept {
  return user.empty() || user == "root" || user == "loginwindow" || user == "_mbsetupuser";
}

/// The short name of the console user; absent when there is none. On macOS the system reports it.
/// On Linux it is the owner of /dev/console, else the user of a utmpx entry for the line `console`,
/// else of one for a local terminal. Names that don't belong to a person are skipped.
[[nodiscard]] std::optional<std::string> consoleUserName();

/// The distinct users of all sessions whose process is alive, in the order of the records.
[[nodiscard]] std::vector<std::string> loggedOnUserNames();

/// This process's effective user id.
[[nodiscard]] std::uint32_t ownUserID() noexcept;

struct Account {
  std::uint32_t id = 0;
  std::string name;
  std::string home;  ///< Its home directory.
};

/// The account with this id; absent if there is none.
[[nodiscard]] std::optional<Account> accountOf(std::uint32_t id);

/// The user id of a local account; absent if there is no such account.
[[nodiscard]] std::optional<std::uint32_t> userID(const std::string& name);

}  // namespace platform
