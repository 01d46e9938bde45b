// Plays the agent for the library: its settings, its log, its notifications, its run loop.
#pragma once
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentTool/CommandLine.h"
#include "AgentTool/Console.h"
#include "Platform/Descriptor.h"
#include "Platform/RunLoop.h"

namespace agent_tool {

/// A setting of the agent can't be used.
class AgentSettingsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Sets the process up as an agent would and takes that back at its end. One at a time, on the
/// main thread.
class AgentSession {
 public:
  /// Throws `AgentSettingsError` when the log file can't be opened. `console` must outlive the
  /// session.
  AgentSession(const AgentSettings& settings, Console& console);
  /// Says on standard error when log lines couldn't be written to the file.
  ~AgentSession();
  AgentSession(const AgentSession&) = delete;
  AgentSession& operator=(const AgentSession&) = delete;

  /// While it lives, log lines go to another sink.
  class OtherSink {
   public:
    explicit OtherSink(std::shared_ptr<LogCore::LogSink> sink)
        : former_(LogCore::setLogSink(std::move(sink))) {}
    ~OtherSink() { LogCore::setLogSink(std::move(former_)); }
    OtherSink(const OtherSink&) = delete;
    OtherSink& operator=(const OtherSink&) = delete;

   private:
    std::shared_ptr<LogCore::LogSink> former_;
  };
  /// Drops lines that would only say on standard error what the tool says there itself; a log
  /// file gets them.
  [[nodiscard]] OtherSink withoutLinesOnConsole() const;
  /// Drops all lines.
  [[nodiscard]] static OtherSink withoutLines();

 private:
  Console& console_;
  std::string logFilePath_;
  platform::Descriptor logFile_;
  std::shared_ptr<LogCore::DescriptorSink> fileSink_;
  std::shared_ptr<LogCore::LogSink> sink_;
  /// Without a source the run loop of this thread would not wait for an answer to a prompt.
  std::shared_ptr<platform::RunLoop::Source> runLoopSource_;
};

}  // namespace agent_tool
