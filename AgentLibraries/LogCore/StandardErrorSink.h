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

/// Writes every line to a descriptor as long as it still refers to the file that it referred to at
/// construction: if an agent closes its standard error, the next file or socket that it opens
/// becomes descriptor 2. Doesn't block long for a reader: lines that can't be written are counted
/// and dropped, and a later line reports them.
class StandardErrorSink final : public LogSink {
 public:
  explicit StandardErrorSink(int descriptor);
  void write(LogLevel level, const LogTag& tag, std::uint32_t line,
             const MessageBuilder& build) override;

 private:
  static constexpr std::chrono::milliseconds kPatience{250};

  /// Writes in pieces that don't block. Returns false on timeout or failure.
  bool takes(std::string_view text, std::chrono::milliseconds patience);

  const int descriptor_;
  const std::optional<platform::FileIdentity> identity_;
  std::mutex mutex_;  // guards the members below and keeps lines whole
  std::uint64_t dropped_ = 0;
  bool isCut_ = false;  // the last line was only partly written
};

/// Formats one line, with its line feed.
[[nodiscard]] std::string logLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                                  const MessageBuilder& build);

}  // namespace LogCore
