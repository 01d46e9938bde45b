#include "AgentLibraries/vxutils/SystemUtilsWrapper.h"

#include <string_view>
#include <utility>
#include <vector>

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

std::string SystemUtilsWrapper::currentConsoleUserWrapper() const {
  return consoleUserOrNobody(platform::consoleUserName());
}

std::optional<std::string> SystemUtilsWrapper::getLoggedOnUsers() const {
  const std::vector<std::string> names = platform::loggedOnUserNames();
  return names.empty() ? std::nullopt : std::optional(platform::joined(names, ","));
}

}  // namespace vxutils
