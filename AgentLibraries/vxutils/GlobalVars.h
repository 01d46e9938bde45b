// The agent's global settings: its directories and the kind of machine.
#pragma once
#include <mutex>
#include <optional>
#include <string>

namespace vxutils {

/// The agent's directories; a text may be absent.
struct AgentDirectories {
  std::optional<std::string> base;  ///< Where the agent is installed.
  std::optional<std::string> data;
  std::optional<std::string> logs;
};

/// Set by the agent before it uses a library, read by everyone; safe from any thread.
class GlobalVars {
 public:
  /// Without directories; asks the machine for its processor until told otherwise.
  constexpr GlobalVars() = default;

  void setDirectories(AgentDirectories directories);
  /// Overrides what the machine says; absent brings the machine's own answer back.
  void setAppleSiliconMachine(std::optional<bool> answer);

  [[nodiscard]] std::optional<std::string> vxagentBasePath() const;
  [[nodiscard]] std::optional<std::string> vxagentDataDictPath() const;
  [[nodiscard]] std::optional<std::string> vxagentLogPath() const;
  [[nodiscard]] bool isAppleSiliconMachine() const;

 private:
  mutable std::mutex mutex_;
  AgentDirectories directories_;
  std::optional<bool> isAppleSilicon_;
};

/// The process's one object. It exists before any code of the process runs, and until its end.
extern constinit GlobalVars& gv_globvars;

}  // namespace vxutils
