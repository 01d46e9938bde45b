#include "AgentLibraries/LogCore/Logger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <utility>

#include "AgentLibraries/LogCore/StandardErrorSink.h"
#include "Platform/Descriptor.h"
#include "Platform/PrintableText.h"

namespace LogCore {
namespace {

constexpr int kStandardError = 2;

/// `2026-11-24T10:11:12.123Z`
std::string timestamp() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const std::time_t wholeSeconds = system_clock::to_time_t(now);
  std::tm utc{};
  gmtime_r(&wholeSeconds, &utc);
  std::array<char, 40> buffer{};
  const int length = std::snprintf(
      buffer.data(), buffer.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", utc.tm_year + 1900,
      utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
      static_cast<int>((now.time_since_epoch() % std::chrono::seconds{1}).count()));
  return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string_view paddedName(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "DEBUG";
    case LogLevel::info:
      return "INFO ";
    case LogLevel::error:
      return "ERROR";
  }
  std::unreachable();
}

}  // namespace

std::string logLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                    const MessageBuilder& build) {
  std::string out = timestamp();
  out += ' ';
  out += paddedName(level);
  out += ' ';
  out += tag.file;
  out += ' ';
  out += tag.function;
  out += ':';
  out += std::to_string(line);
  out += ' ';
  out += platform::printable(build().text, platform::Tabs::kept);
  out += '\n';
  return out;
}

StandardErrorSink::StandardErrorSink(int descriptor)
    : descriptor_(descriptor), identity_(platform::identityOf(descriptor)) {}

void StandardErrorSink::write(LogLevel level, const LogTag& tag, std::uint32_t line,
                              const MessageBuilder& build) {
  const std::string text = logLine(level, tag, line, build);
  const std::scoped_lock lock(mutex_);
  if (!identity_ || platform::identityOf(descriptor_) != identity_) {
    return;
  }
  if (dropped_ > 0) {
    const std::string note = std::string(isCut_ ? "…\n" : "") + timestamp() +
                             " ERROR LogCore/Logger write: " + std::to_string(dropped_) +
                             " lines were dropped, nobody read standard error.\n";
    // Callers have already waited for the reader.
    if (!takes(note, std::chrono::milliseconds::zero())) {
      ++dropped_;
      return;
    }
    dropped_ = 0;
    isCut_ = false;
  }
  if (!takes(text, kPatience)) {
    ++dropped_;
  }
}

bool StandardErrorSink::takes(std::string_view text, std::chrono::milliseconds patience) {
  for (std::size_t done = 0; done < text.size();) {
    if (!platform::isWritable(descriptor_, patience)) {
      isCut_ = isCut_ || done > 0;
      return false;
    }
    const std::ptrdiff_t count =
        platform::writeWithoutSignal(descriptor_, text.substr(done, platform::kAtomicWriteBytes));
    if (count < 0 && errno != EINTR && errno != EAGAIN) {
      return false;
    }
    done += static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
  }
  return true;
}

namespace {

struct CurrentSink {
  std::mutex mutex;
  std::shared_ptr<LogSink> standardError = std::make_shared<StandardErrorSink>(kStandardError);
  std::shared_ptr<LogSink> sink = standardError;
};

CurrentSink& currentSink() {
  // Never destroyed, since threads and destructors may log until the process exits.
  static CurrentSink& current = *new CurrentSink;
  return current;
}

/// Remembers standard error when the library is loaded, because the agent may close it later.
[[maybe_unused]] const CurrentSink& kMadeAtLoad = currentSink();

}  // namespace

void DescriptorSink::write(LogLevel level, const LogTag& tag, std::uint32_t line,
                           const MessageBuilder& build) {
  if (level < minimum_) {
    return;
  }
  const std::string text = logLine(level, tag, line, build);
  if (const std::int32_t error = platform::writeAll(descriptor_, text); error != 0) {
    lastError_ = error;
  }
}

std::shared_ptr<LogSink> setLogSink(std::shared_ptr<LogSink> sink) {
  CurrentSink& current = currentSink();
  const std::scoped_lock lock(current.mutex);
  if (!sink) {
    sink = current.standardError;
  }
  std::swap(current.sink, sink);
  return sink;
}

void writeLogLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                  const MessageBuilder& build) {
  std::shared_ptr<LogSink> sink;
  {
    CurrentSink& current = currentSink();
    const std::scoped_lock lock(current.mutex);
    sink = current.sink;
  }
  try {
    sink->write(level, tag, line, build);
  } catch (...) {  // NOLINT(bugprone-empty-catch)
    // The line is lost. It can't be reported anywhere else, and logging must not affect a patch.
  }
}

}  // namespace LogCore
