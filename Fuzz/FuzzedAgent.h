// The agent for fuzzers: directories in memory, no log.
#pragma once
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>
#include <string_view>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "Fuzz/Require.h"

class FuzzedAgent {
 public:
  FuzzedAgent() {
    std::string name = "/dev/shm/vexlo-fuzz-XXXXXX";
    require(mkdtemp(name.data()) != nullptr, "can't make a directory in /dev/shm");
    root_ = name;
    vxutils::gv_globvars.setDirectories({.base = name, .data = name, .logs = name});
    LogCore::setLogSink(std::make_shared<Unseen>());
  }
  FuzzedAgent(const FuzzedAgent&) = delete;
  FuzzedAgent& operator=(const FuzzedAgent&) = delete;
  ~FuzzedAgent() { std::filesystem::remove_all(root_); }

  static void write(const std::string& path, std::string_view bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
  }

 private:
  /// Builds every message, which must not fail either.
  struct Unseen final : LogCore::LogSink {
    void write(LogCore::LogLevel /*level*/, const LogCore::LogTag& /*tag*/, std::uint32_t /*line*/,
               const LogCore::MessageBuilder& build) override {
      require(!build().text.empty(), "an empty log line");
    }
  };
  std::filesystem::path root_;
};
