#include "AgentLibraries/vxutils/SystemUtil.h"

#include <algorithm>
#include <utility>

#include "Platform/Machine.h"
#include "Platform/Users.h"

namespace vxutils {

SystemUtil& SystemUtil::shared() {
  static SystemUtil instance;
  return instance;
}

MacOSInfo SystemUtil::macOSInfo() {
  std::string version = platform::macOSProductVersion().value_or("");
  version.resize(std::min(version.find('.'), version.size()));
  return {.majorOSVersion = std::move(version)};
}

std::optional<std::uint32_t> SystemUtil::uidForUserAccount(const std::string& name) const {
  return platform::userID(name);
}

}  // namespace vxutils
