#include "AgentTool/Console/LogLines.h"

#include <array>
#include <string_view>
#include <utility>

#include "AgentLibraries/LogCore/Text.h"

namespace agent_tool {

void LogLines::write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
                     const LogCore::MessageBuilder& build) {
  // In the enumeration's order.
  static constexpr std::array<std::string_view, 3> kLevels{"debug", "info", "error"};
  std::string message = build().text;
  {
    const std::scoped_lock lock(mutex_);
    if (lines_.size() == kMost) {
      lines_.pop_front();
      ++dropped_;
    }
    lines_.push_back(LogCore::text(kLevels.at(std::to_underlying(level)), ' ', tag.file, ' ',
                                   tag.function, ": ", message));
  }
  next_->write(level, tag, line, [&] { return LogCore::Logger::Message(std::move(message)); });
}

std::vector<std::string> LogLines::take() {
  const std::scoped_lock lock(mutex_);
  if (const std::uint64_t dropped = std::exchange(dropped_, 0); dropped > 0) {
    lines_.push_front(LogCore::text("(", dropped, " earlier lines)"));
  }
  const std::deque<std::string> taken = std::exchange(lines_, {});
  return {taken.begin(), taken.end()};
}

}  // namespace agent_tool
