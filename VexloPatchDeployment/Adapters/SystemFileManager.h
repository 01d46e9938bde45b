// Two file operations.
#pragma once
#include <cstdint>
#include <string>

#include "AgentLibraries/vxutils/FileUtils.h"

namespace vexlo {

/// The file operations for the prompt's answer.
class SystemFileManager {
 public:
  virtual ~SystemFileManager() = default;
  /// Deletes the file. Returns 0 or an errno value.
  virtual std::int32_t removeFile(const std::string& path) = 0;
  [[nodiscard]] virtual bool isFileExist(const std::string& path) = 0;
};

/// Uses the agent's file library.
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
