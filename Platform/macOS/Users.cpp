#include "Platform/Users.h"
#include <SystemConfiguration/SystemConfiguration.h>

#include "Platform/macOS/Conversions.h"

namespace platform {

std::optional<std::string> consoleUserName() {
  const Owned<CFStringRef> user(SCDynamicStoreCopyConsoleUser(nullptr, nullptr, nullptr));
  std::optional<std::string> name = textOf(user.get());
  return name && isSystemAccount(*name) ? std::nullopt : std::move(name);
}

}  // namespace platform
