// The default sink, behind setLogSink(nullptr). Internal.
#pragma once
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "AgentLibraries/LogCore/Logger.h"
#include "Platform/Descriptor.h"

namespace LogCore {

/// Writes every line to a descriptor for as long as that leads to the file that it led to at
/// construction: an agent may close its standard error, and the next file or socket that it opens
/// then has the number 2. Never keeps its caller waiting for a reader for long: lines that nobody
/// takes are counted and dropped, and a line tells so once somebody reads again.
class StandardErrorSink final : public LogSink {
 public:
  explicit StandardErrorSink(int descriptor);
  void write(LogLevel level, const LogTag& tag, std::uint32_t line,
             const MessageBuilder& build) override;

 private:
  static constexpr std::chrono::milliseconds kPatience{250};

  /// Writes in pieces that are taken at once. False when nobody takes one in time, or ever.
  bool takes(std::string_view text, std::chrono::milliseconds patience);

  const int descriptor_;
  const std::optional<platform::FileIdentity> identity_;
  std::mutex mutex_;  // guards what follows, and keeps lines whole
  std::uint64_t dropped_ = 0;
  bool isCut_ = false;  // the last line stands there without its end
};

/// One line as sinks write it, with its line feed.
[[nodiscard]] std::string logLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                                  const MessageBuilder& build);

}  // namespace LogCore
