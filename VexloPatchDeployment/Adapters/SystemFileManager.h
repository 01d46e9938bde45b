// Two file operations.
#pragma once
#include <cstdint>
#include <string>

#include "AgentLibraries/vxutils/FileUtils.h"

namespace vexlo {

class SystemFileManager {
 public:
  virtual ~SystemFileManager() = default;
  /// Deletes the file. 0 when it is gone, else the system's error number.
  virtual std::int32_t removeFile(const std::string& path) = 0;
  [[nodiscard]] virtual bool isFileExist(const std::string& path) = 0;
};

class FileUtils final : public SystemFileManager {
 public:
  std::int32_t removeFile(const std::string& path) override { return files_.removeFile(path); }
  [[nodiscard]] bool isFileExist(const std::string& path) override {
    return files_.isFileExist(path);
  }

 private:
  vxutils::FileUtils files_;
};

}  // namespace vexlo
