// Who uses the machine: the console, the sessions, the accounts.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The short name of the user at the console, absent when there is none: the owner of
/// /dev/console unless that is root; else the user of the utmpx entry on the line `console`,
/// else of one on a local terminal.
[[nodiscard]] std::optional<std::string> consoleUserName();

/// The distinct users of the session records, in their order; empty when nobody is logged on.
[[nodiscard]] std::vector<std::string> loggedOnUserNames();

/// The numeric id of a local account; absent when there is none of that name.
[[nodiscard]] std::optional<std::uint32_t> userID(const std::string& name);

}  // namespace platform
