// Two file operations.
#pragma once
#include <cstdint>
#include <string>

namespace vxutils {

class FileUtils {
 public:
  /// Deletes the file: 0 when it is gone, else the system's error number (a missing file too). A
  /// directory in its place is moved aside, as «<path>.damaged», and counts as gone.
  [[nodiscard]] std::int32_t removeFile(const std::string& path) const;
  [[nodiscard]] bool isFileExist(const std::string& path) const;
};

}  // namespace vxutils
