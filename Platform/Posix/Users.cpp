#include "Platform/Users.h"

#include <pwd.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/types.h>
#include <unistd.h>
#include <utmpx.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "Platform/Posix/Sessions.h"

namespace platform {
namespace {

/// A record field ends at its first NUL or fills its array.
template <std::size_t kSize>
std::string fieldText(const char (&field)[kSize]) {  // NOLINT(modernize-avoid-c-arrays): libc's
  return {field, ::strnlen(field, kSize)};
}

/// Whether the session's process is alive; its record may remain after a crash.
bool isAlive(pid_t pid) { return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM); }

/// Calls an account function with a large enough buffer.
template <typename Ask>
std::optional<Account> lookUpAccount(const Ask& ask) {
  constexpr std::size_t kLargest = std::size_t{1} << 20;
  std::vector<char> buffer(1024);
  for (;;) {
    passwd account{};
    passwd* found = nullptr;
    const int error = ask(&account, buffer.data(), buffer.size(), &found);
    if (error == ERANGE && buffer.size() < kLargest) {
      buffer.resize(buffer.size() * 2);
    } else if (error != EINTR) {
      return found == nullptr
                 ? std::nullopt
                 : std::optional(Account{
                       .id = account.pw_uid, .name = account.pw_name, .home = account.pw_dir});
    }
  }
}

}  // namespace

std::vector<Session> sessions() {
  static std::mutex mutex;  // the functions below share one file position
  const std::scoped_lock lock(mutex);
  std::vector<Session> found;
  ::setutxent();
  while (const utmpx* entry = ::getutxent()) {
    if (entry->ut_type == USER_PROCESS && entry->ut_user[0] != '\0' && isAlive(entry->ut_pid)) {
      found.push_back({.user = fieldText(entry->ut_user),
                       .line = fieldText(entry->ut_line),
                       .host = fieldText(entry->ut_host)});
    }
  }
  ::endutxent();
  return found;
}

std::vector<std::string> loggedOnUserNames() {
  std::vector<std::string> names;
  for (Session& session : sessions()) {
    if (std::ranges::find(names, session.user) == names.end()) {
      names.push_back(std::move(session.user));
    }
  }
  return names;
}

std::uint32_t ownUserID() noexcept { return ::geteuid(); }

std::optional<Account> accountOf(std::uint32_t id) {
  return lookUpAccount([&](auto... answer) { return ::getpwuid_r(id, answer...); });
}

std::optional<std::uint32_t> userID(const std::string& name) {
  const std::optional<Account> account =
      lookUpAccount([&](auto... answer) { return ::getpwnam_r(name.c_str(), answer...); });
  return account ? std::optional(account->id) : std::nullopt;
}

}  // namespace platform
