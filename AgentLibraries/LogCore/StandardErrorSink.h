// The default sink, behind setLogSink(nullptr). Internal.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "AgentLibraries/LogCore/Logger.h"
#include "Platform/UnblockedOutput.h"

namespace LogCore {

/// Writes every line to the file that a descriptor referred to at construction, until the
/// descriptor refers to another: if an agent closes its standard error, the next file or socket
/// that it opens becomes descriptor 2. Lines wait for a slow reader for a quarter of a second
/// altogether, plus a hundredth of the time that passes. Those that can't be written by then are
/// counted and dropped, and a later line reports them. No write blocks.
class StandardErrorSink final : public LogSink {
 public:
  explicit StandardErrorSink(int descriptor);
  void write(LogLevel level, const LogTag& tag, std::uint32_t line,
             const MessageBuilder& build) override;

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kPatience{250};

  /// Writes the text, with pauses if the reader is slow and `mayWait`. Returns false on timeout or
  /// failure.
  bool takes(std::string_view text, bool mayWait);

  const int descriptor_;
  std::mutex mutex_;  // guards the members below and keeps lines whole
  platform::UnblockedOutput output_;
  Clock::duration patience_ = kPatience;   // what is left of it
  Clock::time_point asOf_ = Clock::now();  // when it was computed
  std::uint64_t dropped_ = 0;
  bool isCut_ = false;  // the last line was only partly written
};

/// `2026-11-24T10:11:12.123Z`
[[nodiscard]] std::string timestamp(std::chrono::sys_time<std::chrono::milliseconds> time);

/// Formats one line, with its line feed. The end of a message of more than 1 MiB is left out.
[[nodiscard]] std::string logLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                                  const MessageBuilder& build);

}  // namespace LogCore
