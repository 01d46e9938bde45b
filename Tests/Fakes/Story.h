// Records a scenario as one ordered list: log lines, commands, pauses and notifications.
#pragma once
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentLibraries/vxutils/Notifications.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

/// Replaces the process's log sink and notification handler for its lifetime. For one thread.
class Story {
 public:
  Story() {
    vxutils::setNotificationHandler([this](std::int32_t code, void* /*argument*/) {
      events.push_back(LogCore::text("notification ", code));
    });
  }
  ~Story() { vxutils::setNotificationHandler(nullptr); }
  Story(const Story&) = delete;
  Story& operator=(const Story&) = delete;

  /// A pause that only becomes an event.
  void sleep(std::chrono::milliseconds duration) {
    events.push_back(LogCore::text("pause of ", duration.count(), " ms"));
  }

  std::vector<std::string> events;

 private:
  struct Lines final : LogCore::LogSink {
    explicit Lines(std::vector<std::string>& events) : events_(events) {}
    void write(LogCore::LogLevel level, const LogCore::LogTag& tag, std::uint32_t /*line*/,
               const LogCore::MessageBuilder& build) override {
      if (level != LogCore::LogLevel::debug) {
        events_.push_back(LogCore::text(nameOf(level), ' ', tag.function, ": ", build().text));
      }
    }
    std::vector<std::string>& events_;
  };

  LogCore::ScopedLogSink sink_{std::make_shared<Lines>(events)};
};

/// Makes an event of each command and answers with the prepared results, first to last; then with
/// success.
class StoryExecutor final : public vexlo::CommandExecutor {
 public:
  explicit StoryExecutor(Story& story) : story_(story) {}
  vexlo::CommandResult run(const std::string& command,
                           const std::optional<std::string>& /*launchPath*/,
                           const std::optional<std::string>& pipeInput) override {
    story_.events.push_back("$ " + command + (pipeInput ? " < " + *pipeInput : ""));
    if (answers.empty()) {
      return {};
    }
    vexlo::CommandResult answer = answers.front();
    answers.pop_front();
    return answer;
  }

  std::deque<vexlo::CommandResult> answers;

 private:
  Story& story_;
};
