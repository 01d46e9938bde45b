#include "AgentLibraries/vxutils/SystemUtilsWrapper.h"

#include <vector>

#include "Platform/Text.h"
#include "Platform/Users.h"

namespace vxutils {

std::string SystemUtilsWrapper::currentConsoleUserWrapper() const {
  return platform::consoleUserName().value_or("NOUSERNAME");
}

std::optional<std::string> SystemUtilsWrapper::getLoggedOnUsers() const {
  const std::vector<std::string> names = platform::loggedOnUserNames();
  return names.empty() ? std::nullopt : std::optional(platform::joined(names, ","));
}

}  // namespace vxutils
