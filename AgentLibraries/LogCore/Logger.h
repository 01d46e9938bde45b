// The agent's logging library: three levels, messages that are built by the sink.
#pragma once
#include <atomic>
#include <concepts>
#include <cstdint>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "AgentLibraries/LogCore/LogTag.h"

namespace LogCore {

enum class LogLevel : std::uint8_t { debug, info, error };

class Logger {
 public:
  /// The text of one log line, made from a literal or a joined text.
  struct Message {
    std::string text;
    Message(std::string joined) : text(std::move(joined)) {}  // NOLINT: converts on purpose
    Message(std::string_view literal) : text(literal) {}      // NOLINT
    Message(const char* literal) : text(literal) {}           // NOLINT
  };
};

/// Makes the message of one line: a reference to the caller's function, which refers to the
/// caller's locals. So it can't be copied.
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

/// Where log lines go. `write` may be called from several threads at once. It calls `build` when
/// it writes the line, and must not keep it: a builder is valid during the call only. What it
/// throws is dropped with the line.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void write(LogLevel level, const LogTag& tag, std::uint32_t line,
                     const MessageBuilder& build) = 0;
};

/// Writes each line of at least `minimum` level to a file descriptor, as
/// `2026-11-24T10:11:12.123Z INFO  Validators/Disk/Disk hasMinimumFreeSpace(of:):41 message`.
/// Line feeds, control characters and the like inside a message are written as escapes (`\n`,
/// `\u001b`), so that no text that is logged can forge a line or steer a terminal. Raises no
/// SIGPIPE. Waits for a reader that is slow.
class DescriptorSink final : public LogSink {
 public:
  /// `descriptor` stays the caller's and must outlive the sink.
  explicit DescriptorSink(int descriptor, LogLevel minimum = LogLevel::debug)
      : descriptor_(descriptor), minimum_(minimum) {}
  void write(LogLevel level, const LogTag& tag, std::uint32_t line,
             const MessageBuilder& build) override;
  /// Why lines are missing: the error number of the last write that failed, 0 when none has.
  [[nodiscard]] std::int32_t lastError() const noexcept { return lastError_; }

 private:
  std::atomic<std::int32_t> lastError_ = 0;
  int descriptor_;
  LogLevel minimum_;
};

/// Drops every line, unbuilt.
class NullSink final : public LogSink {
 public:
  void write(LogLevel, const LogTag&, std::uint32_t, const MessageBuilder&) override {}
};

/// Makes `sink` the process's sink and returns the one before; a null pointer brings back the
/// default. That writes all levels, in the form of `DescriptorSink`, to the standard error that the
/// process had when the library was loaded; once descriptor 2 is another file, lines are dropped.
/// It waits a quarter of a second at most for a reader; later a line tells how many were dropped.
/// Safe from any thread.
std::shared_ptr<LogSink> setLogSink(std::shared_ptr<LogSink> sink);

/// Hands one line to the process's sink.
void writeLogLine(LogLevel level, const LogTag& tag, std::uint32_t line,
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
