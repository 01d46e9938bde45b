// Session records and account names. Internal to Users.
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

/// The user sessions whose process is alive, in the order of their records.
[[nodiscard]] std::vector<Session> sessions();

/// The name of the account with this id; absent when there is none.
[[nodiscard]] std::optional<std::string> userName(uid_t id);

}  // namespace platform
