// The agent's logging library: three levels; sinks build the messages.
#pragma once
#include <array>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "AgentLibraries/LogCore/LogTag.h"
#include "Platform/Export.h"

namespace LogCore {

enum class LogLevel : std::uint8_t { debug, info, error };
inline constexpr std::array<std::string_view, 3> kLevelNames{"debug", "info", "error"};
[[nodiscard]] constexpr std::string_view nameOf(LogLevel level) {
  return kLevelNames.at(static_cast<std::size_t>(level));
}

class Logger {
 public:
  /// The text of one log line.
  struct Message {
    std::string text;
    Message(std::string joined) : text(std::move(joined)) {}  // NOLINT: converts on purpose
    Message(std::string_view literal) : text(literal) {}      // NOLINT
    Message(const char* literal) : text(literal) {}           // NOLINT
  };
};

/// Builds the message of one line. Refers to the caller's function and locals, so it can't be
/// copied.
class MessageBuilder {
 public:
  template <typename Build>
    requires std::is_invocable_r_v<Logger::Message, const Build&>
  MessageBuilder(const Build& build)  // NOLINT: converts on purpose
      : build_(&build), call_([](const void* function) -> Logger::Message {
          return (*static_cast<const Build*>(function))();
        }) {}
  MessageBuilder(const MessageBuilder&) = delete;
  MessageBuilder& operator=(const MessageBuilder&) = delete;

  [[nodiscard]] Logger::Message operator()() const { return call_(build_); }

 private:
  const void* build_;
  Logger::Message (*call_)(const void* function);
};

/// Receives log lines. `write` may be called by several threads at once. It calls `build` if it
/// writes the line; the builder is valid only during the call. Exceptions are dropped together with
/// the line.
class VEXLO_EXPORT LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(LogLevel level, const LogTag& tag, std::uint32_t line,
                     const MessageBuilder& build) = 0;
};

/// Writes each line of at least `minimum` level to a file descriptor, as `2026-11-24T10:11:12.123Z
/// INFO  Validators/Disk/Disk hasMinimumFreeSpace(of:):41 message`. Line feeds, control characters
/// and the like in messages are escaped (`\n`, `\u001b`), so that logged text can't forge a line or
/// control a terminal. Doesn't raise SIGPIPE. Blocks while the reader is slow.
class VEXLO_EXPORT DescriptorSink final : public LogSink {
 public:
  /// `descriptor` remains the caller's and must outlive the sink.
  explicit DescriptorSink(int descriptor, LogLevel minimum = LogLevel::debug)
      : descriptor_(descriptor), minimum_(minimum) {}
  void write(LogLevel level, const LogTag& tag, std::uint32_t line,
             const MessageBuilder& build) override;
  /// The errno value of the last failed write; 0 if no line was lost.
  [[nodiscard]] std::int32_t lastError() const noexcept { return lastError_; }

 private:
  std::atomic<std::int32_t> lastError_ = 0;
  int descriptor_;
  LogLevel minimum_;
};

/// Drops every line without building it.
class VEXLO_EXPORT NullSink final : public LogSink {
 public:
  void write(LogLevel, const LogTag&, std::uint32_t, const MessageBuilder&) override {}
};

/// Replaces the process's sink and returns the previous one; null restores the default. The default
/// sink writes all levels, formatted like `DescriptorSink`, to the standard error that the process
/// had when the library was loaded; once descriptor 2 is another file, lines are dropped. It never
/// blocks; lines wait for a slow reader for a quarter of a second altogether, plus a hundredth of
/// the time that passes, and a later line reports how many were dropped.
/// Thread-safe.
VEXLO_EXPORT std::shared_ptr<LogSink> setLogSink(std::shared_ptr<LogSink> sink);

/// Sets a sink for its lifetime, then the previous one again. May be nested.
class ScopedLogSink {
 public:
  explicit ScopedLogSink(std::shared_ptr<LogSink> sink) : former_(setLogSink(std::move(sink))) {}
  ~ScopedLogSink() { setLogSink(std::move(former_)); }
  ScopedLogSink(const ScopedLogSink&) = delete;
  ScopedLogSink& operator=(const ScopedLogSink&) = delete;

 private:
  std::shared_ptr<LogSink> former_;
};

/// Passes one line to the process's sink.
VEXLO_EXPORT void writeLogLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                               const MessageBuilder& build);

template <std::invocable Build>
void logInfo(const LogTag& tag, const Build& build,
             std::source_location where = std::source_location::current()) {
  writeLogLine(LogLevel::info, tag, where.line(), build);
}
template <std::invocable Build>
void logDebug(const LogTag& tag, const Build& build,
              std::source_location where = std::source_location::current()) {
  writeLogLine(LogLevel::debug, tag, where.line(), build);
}
template <std::invocable Build>
void logError(const LogTag& tag, const Build& build,
              std::source_location where = std::source_location::current()) {
  writeLogLine(LogLevel::error, tag, where.line(), build);
}

}  // namespace LogCore
