#include "AgentLibraries/vxutils/SystemUtilsWrapper.h"

#include <string_view>
#include <utility>

#include "AgentLibraries/vxutils/SessionNames.h"
#include "Platform/Users.h"

namespace vxutils {
namespace {

constexpr std::string_view kNobody = "NOUSERNAME";

}  // namespace

std::string consoleUserOrNobody(std::optional<std::string> name) {
  if (!name || platform::isNobodysSession(*name)) {
    return std::string(kNobody);
  }
  return *std::move(name);
}

std::optional<std::string> joinedNames(const std::vector<std::string>& names) {
  if (names.empty()) {
    return std::nullopt;
  }
  std::string list = names.front();
  for (std::size_t index = 1; index < names.size(); ++index) {
    list += ',';
    list += names[index];
  }
  return list;
}

std::string SystemUtilsWrapper::currentConsoleUserWrapper() const {
  return consoleUserOrNobody(platform::consoleUserName());
}

std::optional<std::string> SystemUtilsWrapper::getLoggedOnUsers() const {
  return joinedNames(platform::loggedOnUserNames());
}

}  // namespace vxutils
