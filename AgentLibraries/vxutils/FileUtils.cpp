#include "AgentLibraries/vxutils/FileUtils.h"

#include "Platform/Files.h"

namespace vxutils {

// Members, though they need no object: the agent's interface has them so.
std::int32_t FileUtils::removeFile(const std::string& path) const {
  return platform::removeFile(path);
}

bool FileUtils::isFileExist(const std::string& path) const { return platform::fileExists(path); }

}  // namespace vxutils
