// Session records. Internal to Users.
#pragma once
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

}  // namespace platform
