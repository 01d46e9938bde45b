// Runs commands and tools for the agent.
#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/CommandResult.h"

namespace vxutils {

/// Runs child processes and waits for them. Stateless; usable from any thread. The log says why a
/// child could not be started, that it was ended after its time-out, or that its status was lost.
/// What can't be started for want of a process, a descriptor or memory is tried five times, half a
/// second apart.
class TerminalUtil {
 public:
  /// How long a task may take when its caller names no time: two hours.
  static constexpr std::int64_t kLongestTaskSeconds = 7200;

  /// Pauses between two tries.
  using Sleeper = std::function<void(std::chrono::milliseconds duration)>;

  explicit TerminalUtil(Sleeper sleep);

  /// The shared instance.
  static TerminalUtil& defaultInstance();

  /// Runs `command` with the shell at `launchPath` ("/bin/sh" when absent) as its `-c` text, in
  /// `directory` (the current one when absent), with `pipeInput` as its whole standard input
  /// (/dev/null when absent). After `timeoutSeconds` its process group is ended. Output is logged
  /// line by line at info level while it comes when `logOutputContinuously` (the first 4 MiB, then
  /// the number of further lines), whole at the end when `shouldLogOutput`; the command and the
  /// input, which may hold a password, never are.
  [[nodiscard]] CommandResult runCommand(const std::string& command,
                                         const std::optional<std::string>& directory,
                                         const std::optional<std::string>& launchPath,
                                         const std::optional<std::string>& pipeInput,
                                         std::int64_t timeoutSeconds, bool logOutputContinuously,
                                         bool shouldLogOutput);

  /// Runs the executable at `pathOfBinary` directly, without a shell, and waits for its end. After
  /// `timeoutSeconds` its process group is ended.
  [[nodiscard]] std::pair<std::int32_t, std::string> executeTaskForString(
      const std::string& pathOfBinary, const std::vector<std::string>& arguments,
      std::int64_t timeoutSeconds = kLongestTaskSeconds);

 private:
  Sleeper sleep_;
};

}  // namespace vxutils
