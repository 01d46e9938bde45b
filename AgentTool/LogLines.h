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

/// Keeps the last lines of every level as texts for people, «info Validators/Disk/Disk
/// hasMinimumFreeSpace(of:): …», and passes all on.
class LogLines final : public LogCore::LogSink {
 public:
  static constexpr std::size_t kMost = 200;

  /// `next` is never null.
  explicit LogLines(std::shared_ptr<LogCore::LogSink> next) : next_(std::move(next)) {}
  void write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
             const LogCore::MessageBuilder& build) override;
  /// Gives away the lines since the last call, at most `kMost`; the first one tells how many
  /// before them were dropped, if any were.
  [[nodiscard]] std::vector<std::string> take();

 private:
  std::shared_ptr<LogCore::LogSink> next_;
  std::mutex mutex_;
  std::deque<std::string> lines_;
  std::uint64_t dropped_ = 0;
};

}  // namespace agent_tool
