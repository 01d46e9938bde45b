// Two file operations.
#pragma once
#include <cstdint>
#include <string>

namespace vxutils {

class FileUtils {
 public:
  /// Deletes the file. Returns 0 or an errno value, also for a missing file. A directory in its
  /// place is renamed to «<path>.damaged», which counts as success.
  [[nodiscard]] std::int32_t removeFile(const std::string& path) const;
  [[nodiscard]] bool isFileExist(const std::string& path) const;
};

}  // namespace vxutils
