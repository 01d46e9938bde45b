// Two file operations.
#pragma once
#include <cstdint>
#include <string>

#include "AgentLibraries/vxutils/FileUtils.h"

namespace vexlo {

/// The file operations that the prompt's answer needs, for the agent or a test to replace.
class SystemFileManager {
 public:
  virtual ~SystemFileManager() = default;
  /// Deletes the file. 0 when it is gone, else the system's error number.
  virtual std::int32_t removeFile(const std::string& path) = 0;
  [[nodiscard]] virtual bool isFileExist(const std::string& path) = 0;
};

/// The agent's own file operations.
class AgentFiles final : public SystemFileManager {
 public:
  std::int32_t removeFile(const std::string& path) override { return files_.removeFile(path); }
  [[nodiscard]] bool isFileExist(const std::string& path) override {
    return files_.isFileExist(path);
  }

 private:
  vxutils::FileUtils files_;
};

}  // namespace vexlo
