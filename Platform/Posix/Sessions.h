// The session records and the names of accounts. Internal to Users.
#pragma once
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace platform {

struct Session {
  std::string user;
  std::string line;
  std::string host;
};

/// The user sessions of the records whose process lives, in their order.
[[nodiscard]] std::vector<Session> sessions();

/// The name of the account with this id; absent when there is none.
[[nodiscard]] std::optional<std::string> userName(uid_t id);

}  // namespace platform
