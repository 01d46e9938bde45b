// Runs one shell command line.
#pragma once
#include <optional>
#include <string>

#include "AgentLibraries/vxutils/CommandResult.h"
#include "VexloPatchDeployment/Common/Export.h"

namespace vexlo {

/// Exit status and output of a command.
using vxutils::CommandResult;

class VEXLO_EXPORT CommandExecutor {
 public:
  virtual ~CommandExecutor() = default;
  /// Runs `command` with the shell at `launchPath` ("/bin/sh" when absent) and waits for its end,
  /// at most two hours. `pipeInput`, when present, is the child's whole standard input; it may
  /// hold a password and is therefore never logged.
  virtual CommandResult run(const std::string& command,
                            const std::optional<std::string>& launchPath,
                            const std::optional<std::string>& pipeInput) = 0;
};

/// Runs commands with the agent's terminal utility, which logs their output line by line.
/// Stateless; usable from any thread.
class VEXLO_EXPORT TerminalUtil final : public CommandExecutor {
 public:
  /// The shared instance.
  static TerminalUtil& defaultInstance();
  CommandResult run(const std::string& command, const std::optional<std::string>& launchPath,
                    const std::optional<std::string>& pipeInput) override;
};

}  // namespace vexlo
