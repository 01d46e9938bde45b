#include "AgentTool/Commands/AgentSession.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentLibraries/vxutils/Notifications.h"
#include "AgentTool/Console/PrintableText.h"

namespace agent_tool {
namespace {

using LogCore::DescriptorSink;
using LogCore::LogLevel;
using LogCore::LogSink;
using LogCore::NullSink;

constexpr std::int32_t kUpdatesInProgress = 19;
constexpr mode_t kLogFileMode = 0640;

/// Standard error, with the activity line out of the way.
class ConsoleSink final : public LogSink {
 public:
  ConsoleSink(Console& console, LogLevel minimum)
      : console_(console), minimum_(minimum), lines_(STDERR_FILENO, minimum) {}

  void write(LogLevel level, const LogCore::LogTag& tag, std::uint32_t line,
             const LogCore::MessageBuilder& build) override {
    if (level < minimum_) {
      return;
    }
    // Built before locking the console, which should be locked only for the write.
    std::string message = build().text;
    console_.withActivityCleared([&] {
      lines_.write(level, tag, line, [&] { return LogCore::Logger::Message(std::move(message)); });
    });
  }

 private:
  Console& console_;
  LogLevel minimum_;
  DescriptorSink lines_;
};

std::string cannotLog(const std::string& path, std::int32_t error) {
  return "--log-file " + path + ": " + std::generic_category().message(error);
}

/// Doesn't follow links, which could redirect an agent's log into another file, and doesn't block.
platform::Descriptor openLogFile(const std::string& path) {
  // These are links to the standard streams.
  for (const auto& [name, descriptor] :
       {std::pair("/dev/stdout", STDOUT_FILENO), {"/dev/stderr", STDERR_FILENO}}) {
    if (path == name) {
      return platform::Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
  }
  platform::Descriptor file = platform::aboveStandard(::open(
      path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK,
      kLogFileMode));
  struct stat status{};
  if (!file || ::fstat(file.get(), &status) != 0) {
    throw UsageError(errno == ELOOP ? "--log-file " + path + ": expected a file, found a link"
                                    : cannotLog(path, errno));
  }
  if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode)) {
    throw UsageError("--log-file " + path + ": expected a regular file");
  }
  ::fcntl(file.get(), F_SETFL, O_APPEND);
  return file;
}

}  // namespace

AgentSession::AgentSession(const AgentSettings& settings, Console& console)
    : console_(console),
      logFilePath_(settings.logFile.value_or("")),
      logFile_(settings.logFile ? openLogFile(logFilePath_) : platform::Descriptor()),
      runLoopSource_(platform::RunLoop::current().addSource([] {})) {
  vxutils::gv_globvars.setDirectories(settings.directories);
  vxutils::gv_globvars.setAppleSiliconMachine(settings.isAppleSilicon);
  if (!settings.minimumLevel) {
    sink_ = std::make_shared<NullSink>();
  } else if (logFile_) {
    sink_ = fileSink_ = std::make_shared<DescriptorSink>(logFile_.get(), *settings.minimumLevel);
  } else {
    sink_ = std::make_shared<ConsoleSink>(console, *settings.minimumLevel);
  }
  LogCore::setLogSink(sink_);
  vxutils::setNotificationHandler([&console](std::int32_t code, void*) {
    console.reportError("notification " + std::to_string(code) +
                        (code == kUpdatesInProgress ? ": macOS updates are in progress" : ""));
  });
}

AgentSession::~AgentSession() {
  vxutils::setNotificationHandler({});
  LogCore::setLogSink(nullptr);
  if (const std::int32_t error = fileSink_ ? fileSink_->lastError() : 0; error != 0) {
    console_.reportError(cannotLog(logFilePath_, error) + "; log lines are missing");
  }
}

LogCore::ScopedLogSink AgentSession::withoutLinesOnConsole() const {
  return LogCore::ScopedLogSink(logFile_ ? sink_ : std::make_shared<NullSink>());
}

}  // namespace agent_tool
