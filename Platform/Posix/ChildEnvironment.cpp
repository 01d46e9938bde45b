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
  const std::size_t sign = variable.find('=');
  const std::string_view name = variable.substr(0, sign);
  if (sign == std::string_view::npos || (name != "LANG" && !name.starts_with("LC_"))) {
    return false;
  }
  constexpr std::size_t kLongest = 64;
  const std::string_view locale = variable.substr(sign + 1);
  const auto mayStand = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.' || c == '@';
  };
  return variable.size() <= kLongest && std::ranges::all_of(locale, mayStand) &&
         std::ranges::all_of(name, mayStand);
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
