#include "Platform/Users.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "Platform/Posix/Sessions.h"

namespace platform {
namespace {

constexpr const char* kConsoleDevice = "/dev/console";
constexpr std::string_view kConsoleLine = "console";

/// A virtual terminal or a local display, not a remote session.
bool isLocal(const Session& session) {
  return (session.line.starts_with("tty") || session.line.starts_with(':')) &&
         (session.host.empty() || session.host.starts_with(':'));
}

}  // namespace

std::optional<std::string> consoleUserName() {
  struct stat console{};
  if (::stat(kConsoleDevice, &console) == 0) {
    const std::optional<Account> owner = accountOf(console.st_uid);
    if (owner && !isSystemAccount(owner->name)) {
      return owner->name;
    }
  }
  std::vector<Session> all = sessions();
  std::erase_if(all, [](const Session& session) { return isSystemAccount(session.user); });
  auto found = std::ranges::find(all, kConsoleLine, &Session::line);
  if (found == all.end()) {
    found = std::ranges::find_if(all, isLocal);
  }
  return found == all.end() ? std::nullopt : std::optional(found->user);
}

}  // namespace platform
