#include "AgentLibraries/LogCore/Logger.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <utility>

#include "Platform/Descriptor.h"

namespace LogCore {
namespace {

constexpr int kStandardError = 2;

struct CurrentSink {
  std::mutex mutex;
  std::shared_ptr<LogSink> sink = std::make_shared<DescriptorSink>(kStandardError);
};

CurrentSink& currentSink() {
  // Never destroyed: threads and destructors may log until the very end of the process.
  static CurrentSink& current = *new CurrentSink;
  return current;
}

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

void appendOnOneLine(std::string& out, std::string_view message) {
  for (const char c : message) {
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      out += c;
    }
  }
}

}  // namespace

void DescriptorSink::write(LogLevel level, const LogTag& tag, std::uint32_t line,
                           const MessageBuilder& build) {
  if (level < minimum_) {
    return;
  }
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
  appendOnOneLine(out, build().text);
  out += '\n';
  if (const std::int32_t error = platform::writeAll(descriptor_, out); error != 0) {
    lastError_ = error;
  }
}

std::shared_ptr<LogSink> setLogSink(std::shared_ptr<LogSink> sink) {
  if (!sink) {
    sink = std::make_shared<DescriptorSink>(kStandardError);
  }
  CurrentSink& current = currentSink();
  const std::scoped_lock lock(current.mutex);
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
    // The line is lost. There is no further place to report it, and what becomes of a patch does
    // not depend on its log.
  }
}

}  // namespace LogCore
