// Acts as the agent: settings, log, notifications, run loop.
#pragma once
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "AgentLibraries/LogCore/Logger.h"
#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentTool/Console/Console.h"
#include "Platform/Descriptor.h"
#include "Platform/RunLoop.h"

namespace agent_tool {

/// The agent's settings.
struct AgentSettings {
  std::optional<std::string> root;                ///< Of the directories that are not given.
  vxutils::AgentDirectories directories;          ///< Absolute; absent when not given.
  std::optional<bool> isAppleSilicon;             ///< Absent: ask the machine.
  std::optional<LogCore::LogLevel> minimumLevel;  ///< Absent: no log lines at all.
  std::optional<std::string> logFile;             ///< Absent: standard error.
};

/// Bad usage that the command line alone doesn't show. With an empty text it is already reported.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Sets up the process as an agent would and undoes that in the destructor. One at a time, on the
/// main thread.
class AgentSession {
 public:
  /// Throws `UsageError` if the log file can't be opened. `console` must outlive the
  /// session.
  AgentSession(const AgentSettings& settings, Console& console);
  /// Reports on stderr if log lines couldn't be written to the file.
  ~AgentSession();

  /// Where log lines go; never null.
  [[nodiscard]] const std::shared_ptr<LogCore::LogSink>& sink() const { return sink_; }
  /// Drops log lines that would repeat the tool's own messages on stderr; a log file still gets
  /// them.
  [[nodiscard]] LogCore::ScopedLogSink withoutLinesOnConsole() const;

 private:
  Console& console_;
  std::string logFilePath_;
  platform::Descriptor logFile_;
  std::shared_ptr<LogCore::DescriptorSink> fileSink_;
  std::shared_ptr<LogCore::LogSink> sink_;
  /// Without a source, this thread's run loop would not wait for the prompt.
  std::shared_ptr<platform::RunLoop::Source> runLoopSource_;
};

}  // namespace agent_tool
