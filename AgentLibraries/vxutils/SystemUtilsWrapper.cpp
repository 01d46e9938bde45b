#include "AgentLibraries/vxutils/SystemUtilsWrapper.h"

#include <string_view>
#include <utility>

#include "AgentLibraries/vxutils/SessionNames.h"
#include "Platform/Text.h"
#include "Platform/Users.h"

namespace vxutils {
namespace {

constexpr std::string_view kNobody = "NOUSERNAME";

}  // namespace

std::string consoleUserOrNobody(std::optional<std::string> name) {
  if (!name || platform::isSystemAccount(*name)) {
    return std::string(kNobody);
  }
  return *std::move(name);
}

std::optional<std::string> joinedNames(const std::vector<std::string>& names) {
  if (names.empty()) {
    return std::nullopt;
  }
  return platform::joined(names, ",");
}

std::string SystemUtilsWrapper::currentConsoleUserWrapper() const {
  return consoleUserOrNobody(platform::consoleUserName());
}

std::optional<std::string> SystemUtilsWrapper::getLoggedOnUsers() const {
  return joinedNames(platform::loggedOnUserNames());
}

}  // namespace vxutils
