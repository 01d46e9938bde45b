#include "AgentTool/Console/LogLines.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "AgentLibraries/LogCore/Text.h"

namespace agent_tool {
namespace {

using LogCore::LogLevel;

std::string_view levelName(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "debug";
    case LogLevel::info:
      return "info";
    case LogLevel::error:
      return "error";
  }
  std::unreachable();
}

}  // namespace

void LogLines::write(LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
                     const LogCore::MessageBuilder& build) {
  std::string message = build().text;
  {
    const std::scoped_lock lock(mutex_);
    if (lines_.size() == kMost) {
      lines_.pop_front();
      ++dropped_;
    }
    lines_.push_back(
        LogCore::text(levelName(level), ' ', tag.file, ' ', tag.function, ": ", message));
  }
  next_->write(level, tag, line, [&] { return LogCore::Logger::Message(std::move(message)); });
}

std::vector<std::string> LogLines::take() {
  const std::scoped_lock lock(mutex_);
  std::vector<std::string> lines;
  lines.reserve(lines_.size() + 1);
  if (const std::uint64_t dropped = std::exchange(dropped_, 0); dropped > 0) {
    lines.push_back(LogCore::text("(", dropped, " earlier lines)"));
  }
  lines.insert(lines.end(), std::make_move_iterator(lines_.begin()),
               std::make_move_iterator(lines_.end()));
  lines_.clear();
  return lines;
}

}  // namespace agent_tool
