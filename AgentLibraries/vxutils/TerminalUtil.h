// Runs commands and tools for the agent.
#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/CommandResult.h"

namespace vxutils {

/// Runs child processes and waits for them. Stateless and thread-safe. Logs why a child could not
/// be started, that it was killed after its time-out, or that its status was lost. If a child can't
/// be started for lack of processes, descriptors or memory, up to five attempts are made, half a
/// second apart.
class TerminalUtil {
 public:
  /// The default time-out: two hours.
  static constexpr std::int64_t kLongestTaskSeconds = 7200;

  /// Receives a piece of a command's output, on the thread that waits for the command.
  using OutputReader = std::function<void(std::string_view piece)>;
  /// Pauses between two attempts.
  using Sleeper = std::function<void(std::chrono::milliseconds duration)>;

  explicit TerminalUtil(Sleeper sleep) : sleep_(std::move(sleep)) {}

  /// The shared instance.
  static TerminalUtil& defaultInstance();

  /// Runs `command` with `-c` in the shell at `launchPath` ("/bin/sh" if absent), in `directory`
  /// (the current one if absent), with `pipeInput` as its whole standard input (/dev/null if
  /// absent). After `timeoutSeconds` its process group is killed. With `logOutputContinuously`,
  /// output is logged at info level line by line as it arrives (4 MiB of log lines, then the number
  /// of further lines); with `shouldLogOutput`, as a whole at the end. The command and the input,
  /// which may contain a password, are never logged. `readOutput`, if any, receives all output as
  /// it arrives, in arbitrary pieces; it must not throw.
  [[nodiscard]] CommandResult runCommand(const std::string& command,
                                         const std::optional<std::string>& directory,
                                         const std::optional<std::string>& launchPath,
                                         const std::optional<std::string>& pipeInput,
                                         std::int64_t timeoutSeconds, bool logOutputContinuously,
                                         bool shouldLogOutput, const OutputReader& readOutput = {});

  /// Runs the executable at `pathOfBinary` directly, without a shell, and waits for it to exit.
  /// After `timeoutSeconds` its process group is killed.
  [[nodiscard]] CommandResult executeTaskForString(
      const std::string& pathOfBinary, const std::vector<std::string>& arguments,
      std::int64_t timeoutSeconds = kLongestTaskSeconds);

 private:
  Sleeper sleep_;
};

}  // namespace vxutils
