// The agent for fuzzers: directories in memory, no log.
#pragma once
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
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
    // Removes the directory when this process ends, however it ends.
    const std::string watch = "trap '' INT TERM; cat >/dev/null; rm -rf " + name;
    watcher_ = ::popen(watch.c_str(), "we");
    require(watcher_ != nullptr, "can't run a shell");
    vxutils::gv_globvars.setDirectories({.base = name, .data = name, .logs = name});
    LogCore::setLogSink(std::make_shared<Unseen>());
  }
  FuzzedAgent(const FuzzedAgent&) = delete;
  FuzzedAgent& operator=(const FuzzedAgent&) = delete;
  ~FuzzedAgent() { ::pclose(watcher_); }

  static void write(const std::string& path, std::string_view bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
  }
  static std::string read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  /// Builds every message, which must not fail either.
  struct Unseen final : LogCore::LogSink {
    void write(LogCore::LogLevel /*level*/, const LogCore::LogTag& /*tag*/, std::uint32_t /*line*/,
               const LogCore::MessageBuilder& build) override {
      require(!build().text.empty(), "an empty log line");
    }
  };
  std::FILE* watcher_;
};
