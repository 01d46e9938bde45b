#include "AgentLibraries/LogCore/Logger.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>
#include <utility>

#include "AgentLibraries/LogCore/StandardErrorSink.h"
#include "AgentLibraries/LogCore/Text.h"
#include "Platform/Calendar.h"
#include "Platform/Descriptor.h"
#include "Platform/PrintableText.h"

namespace LogCore {
namespace {

constexpr int kStandardError = 2;
constexpr int kShareOfTime = 100;
constexpr std::size_t kMostMessageBytes = std::size_t{1} << 20;
constexpr std::array<std::string_view, 3> kPaddedNames{"DEBUG", "INFO ", "ERROR"};  // of the levels

std::string now() {
  using namespace std::chrono;
  return timestamp(floor<milliseconds>(system_clock::now()));
}

}  // namespace

std::string timestamp(std::chrono::sys_time<std::chrono::milliseconds> time) {
  const auto wholeSeconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto milliseconds = (time - wholeSeconds).count();
  std::string out = platform::timestamp(wholeSeconds);
  return out.insert(out.size() - 1, '.' + std::to_string(1000 + milliseconds).substr(1));
}

std::string logLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                    const MessageBuilder& build) {
  const std::string message = build().text;
  const std::string_view shown = std::string_view(message).substr(0, kMostMessageBytes);
  const std::string missing = shown.size() < message.size()
                                  ? text("… [", message.size() - shown.size(), " more bytes]")
                                  : "";
  return text(now(), ' ', kPaddedNames.at(std::to_underlying(level)), ' ', tag.file, ' ',
              tag.function, ':', line, ' ', platform::printable(shown, platform::Tabs::kept),
              missing, '\n');
}

StandardErrorSink::StandardErrorSink(int descriptor)
    : descriptor_(descriptor), output_(descriptor) {}

void StandardErrorSink::write(LogLevel level, const LogTag& tag, std::uint32_t line,
                              const MessageBuilder& build) {
  const std::string whole = logLine(level, tag, line, build);
  const std::scoped_lock lock(mutex_);
  if (!output_.isFileOf(descriptor_)) {
    output_ = {};  // its reader waits for the end of the file, perhaps
    return;
  }
  const Clock::time_point start = Clock::now();
  patience_ = std::min<Clock::duration>(kPatience, patience_ + (start - asOf_) / kShareOfTime);
  asOf_ = start;
  if (dropped_ > 0) {
    const std::string note =
        text(isCut_ ? "…\n" : "", now(), " ERROR LogCore/Logger write: ", dropped_,
             " lines were dropped, nobody read standard error.\n");
    if (!takes(note, false)) {  // callers have already waited for the reader
      ++dropped_;
      return;
    }
    dropped_ = 0;
    isCut_ = false;
  }
  if (!takes(whole, true)) {
    ++dropped_;
  }
}

bool StandardErrorSink::takes(std::string_view text, bool mayWait) {
  const std::size_t whole = text.size();
  for (;;) {
    const std::ptrdiff_t count = output_.write(text);
    text.remove_prefix(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
    if (text.empty()) {
      return true;
    }
    if (count < 0 || (count == 0 && (!mayWait || patience_ <= Clock::duration::zero()))) {
      isCut_ = isCut_ || text.size() < whole;
      return false;
    }
    if (count == 0) {
      const Clock::time_point start = Clock::now();
      output_.waitForRoom(patience_);
      asOf_ = Clock::now();
      patience_ -= asOf_ - start;
    }
  }
}

namespace {

struct CurrentSink {
  std::mutex mutex;
  std::shared_ptr<LogSink> standardError = std::make_shared<StandardErrorSink>(kStandardError);
  std::shared_ptr<LogSink> sink = standardError;
  /// Whether `sink` drops every line: `what-if` calls the library a million times without a log.
  std::atomic<bool> dropsAll = false;
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
  current.dropsAll = dynamic_cast<const NullSink*>(sink.get()) != nullptr;
  std::swap(current.sink, sink);
  return sink;
}

void writeLogLine(LogLevel level, const LogTag& tag, std::uint32_t line,
                  const MessageBuilder& build) {
  CurrentSink& current = currentSink();
  if (current.dropsAll) {
    return;
  }
  std::shared_ptr<LogSink> sink;
  {
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
