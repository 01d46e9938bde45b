// Runs shell commands.
#pragma once
#include <optional>
#include <string>

#include "AgentLibraries/vxutils/CommandResult.h"
#include "Platform/Export.h"

namespace vexlo {

/// Exit status and output of a command.
using vxutils::CommandResult;

/// Replaced where nothing may change on the machine, as in tests.
class VEXLO_EXPORT CommandExecutor {
 public:
  virtual ~CommandExecutor() = default;
  /// Runs `command` with the shell at `launchPath` ("/bin/sh" if absent) and waits for it to exit,
  /// at most two hours. `pipeInput`, if present, is the whole standard input; it may contain a
  /// password and is never logged.
  virtual CommandResult run(const std::string& command,
                            const std::optional<std::string>& launchPath,
                            const std::optional<std::string>& pipeInput) = 0;
};

/// Runs commands with the agent's terminal utility, which logs their output line by line. Stateless
/// and thread-safe.
class VEXLO_EXPORT TerminalUtil final : public CommandExecutor {
 public:
  /// The shared instance.
  static TerminalUtil& defaultInstance();
  CommandResult run(const std::string& command, const std::optional<std::string>& launchPath,
                    const std::optional<std::string>& pipeInput) override;
};

}  // namespace vexlo
