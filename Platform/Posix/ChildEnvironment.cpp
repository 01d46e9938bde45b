#include "Platform/Posix/ChildEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "Platform/Posix/ProcessSystem.h"
#include "Platform/Users.h"

namespace platform {
namespace {

constexpr std::string_view kSystemFolders = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";

/// Accepts «LANG=en_US.UTF-8», «LC_TIME=de_CH», «LC_ALL=C», but no path or command.
bool setsLocale(std::string_view variable) {
  constexpr std::size_t kLongest = 64;
  constexpr std::string_view kAllowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.@=";
  return variable.size() <= kLongest &&
         (variable.starts_with("LANG=") || variable.starts_with("LC_")) &&
         std::ranges::count(variable, '=') == 1 &&
         variable.find_first_not_of(kAllowed) == std::string_view::npos;
}

}  // namespace

std::vector<std::string> childEnvironment() {
  std::vector<std::string> variables{std::string(kSystemFolders), "TMPDIR=" + temporaryDirectory()};
  if (const std::optional<Account> account = accountOf(ownUserID())) {
    variables.push_back("HOME=" + account->home);
    variables.push_back("USER=" + account->name);
    variables.push_back("LOGNAME=" + account->name);
  }
  for (char** variable = environmentVariables(); variable != nullptr && *variable != nullptr;
       ++variable) {
    if (setsLocale(*variable)) {
      variables.emplace_back(*variable);
    }
  }
  return variables;
}

}  // namespace platform
