// Keeps the log lines that lead to a result.
#pragma once
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"

namespace agent_tool {

/// Keeps the last lines of every level in a readable form, «info Validators/Disk/Disk
/// hasMinimumFreeSpace(of:): …», and forwards all lines.
class LogLines final : public LogCore::LogSink {
 public:
  static constexpr std::size_t kMost = 200;

  /// `next` must not be null.
  explicit LogLines(std::shared_ptr<LogCore::LogSink> next) : next_(std::move(next)) {}
  void write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
             const LogCore::MessageBuilder& build) override;
  /// Returns and removes the lines since the last call, at most `kMost`. If older lines were
  /// dropped, the first one says how many.
  [[nodiscard]] std::vector<std::string> take();

 private:
  std::shared_ptr<LogCore::LogSink> next_;
  std::mutex mutex_;
  std::deque<std::string> lines_;
  std::uint64_t dropped_ = 0;
};

}  // namespace agent_tool
