// The agent's global settings: its directories and the processor type.
#pragma once
#include <mutex>
#include <optional>
#include <string>

#include "Platform/Export.h"

namespace vxutils {

/// The agent's directories; any may be absent.
struct AgentDirectories {
  std::optional<std::string> base;  ///< Where the agent is installed.
  std::optional<std::string> data;
  std::optional<std::string> logs;
};

/// Set by the agent before it uses the libraries. Thread-safe.
class VEXLO_EXPORT GlobalVars {
 public:
  /// No directories; the processor type is the machine's unless overridden.
  constexpr GlobalVars() = default;

  void setDirectories(AgentDirectories directories);
  /// Overrides the machine's processor type; absent removes the override.
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

/// The process's settings. Exist before any code runs and until the process exits.
VEXLO_EXPORT extern constinit GlobalVars& gv_globvars;

}  // namespace vxutils
