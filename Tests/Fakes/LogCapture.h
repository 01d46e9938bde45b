// Records the process's log lines during a test; matchers for log lines.
#pragma once
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"

/// One log line with its message.
struct LogRecord {
  LogCore::LogLevel level = LogCore::LogLevel::debug;
  std::string file;
  std::string function;
  std::uint32_t line = 0;
  std::string message;

  friend bool operator==(const LogRecord&, const LogRecord&) = default;
  friend std::ostream& operator<<(std::ostream& out, const LogRecord& record) {
    return out << nameOf(record.level) << ' ' << record.file << ' ' << record.function << ':'
               << record.line << " \"" << record.message << '"';
  }
};

/// Replaces the process's log sink for its lifetime and records every line from any thread. May be
/// nested: the innermost one records; its destructor restores the previous sink.
class LogCapture {
 public:
  /// A copy of the lines so far, oldest first.
  [[nodiscard]] std::vector<LogRecord> records() const {
    const std::scoped_lock lock(lines_->mutex);
    return lines_->records;
  }
  /// Forgets the lines so far.
  void clear() const {
    const std::scoped_lock lock(lines_->mutex);
    lines_->records.clear();
  }
  /// Whether any message or tag contains `part`; for secrets that must not be logged.
  [[nodiscard]] bool mentions(std::string_view part) const {
    return std::ranges::any_of(records(), [&](const LogRecord& record) {
      return record.message.contains(part) || record.function.contains(part);
    });
  }

 private:
  struct Lines final : LogCore::LogSink {
    mutable std::mutex mutex;
    std::vector<LogRecord> records;
    void write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
               const LogCore::MessageBuilder& build) override {
      LogRecord record{.level = level,
                       .file = std::string(tag.file),
                       .function = std::string(tag.function),
                       .line = line,
                       .message = build().text};  // built outside the lock, since it may log too
      const std::scoped_lock lock(mutex);
      records.push_back(std::move(record));
    }
  };

  std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
  LogCore::ScopedLogSink sink_{lines_};
};

/// A line of `level` whose whole message is `text`.
inline auto LineOf(LogCore::LogLevel level, const std::string& text) {
  return ::testing::AllOf(::testing::Field("level", &LogRecord::level, level),
                          ::testing::Field("message", &LogRecord::message, text));
}
/// A line at the level of the name whose whole message is `text`.
inline auto InfoLine(const std::string& text) { return LineOf(LogCore::LogLevel::info, text); }
inline auto DebugLine(const std::string& text) { return LineOf(LogCore::LogLevel::debug, text); }
inline auto ErrorLine(const std::string& text) { return LineOf(LogCore::LogLevel::error, text); }
/// A line tagged with the source `file` (from the module folder, no extension) and `function`.
inline auto LoggedBy(const std::string& file, const std::string& function) {
  return ::testing::AllOf(::testing::Field("file", &LogRecord::file, file),
                          ::testing::Field("function", &LogRecord::function, function));
}
