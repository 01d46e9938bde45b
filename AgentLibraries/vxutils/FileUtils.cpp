#include "AgentLibraries/vxutils/FileUtils.h"

#include <cerrno>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Files.h"

namespace vxutils {

// Not static, because the agent's interface has them as members.
std::int32_t FileUtils::removeFile(const std::string& path) const {
  const std::int32_t error = platform::removeFile(path);
  if (error != EISDIR) {
    return error;
  }
  const auto aside = platform::setFileAside(path, ".damaged");
  if (!aside) {
    return aside.error().code.value();
  }
  LogCore::logError(LogCore::LogTag{"removeFile(_:)"}, [&] {
    return LogCore::text("Moved aside a directory in the place of a file, it is kept as ", *aside,
                         ".");
  });
  return 0;
}

bool FileUtils::isFileExist(const std::string& path) const { return platform::fileExists(path); }

}  // namespace vxutils
