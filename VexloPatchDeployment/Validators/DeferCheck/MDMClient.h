// Runs the machine's MDM client.
#pragma once
#include <cstdint>
#include <string>

namespace vexlo {

/// The result of running the MDM client.
struct MDMClientOutput {
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error, interleaved.
};

class MDMClientCommandExecutor {
 public:
  virtual ~MDMClientCommandExecutor() = default;
  /// The MDM client's report of available macOS updates and their deferrals.
  [[nodiscard]] virtual MDMClientOutput fetchAvailableOSUpdatesRaw() = 0;
};

/// Runs /usr/libexec/mdmclient without a shell and waits for it to exit. Stateless.
class SystemMDMClient final : public MDMClientCommandExecutor {
 public:
  [[nodiscard]] MDMClientOutput fetchAvailableOSUpdatesRaw() override;
};

}  // namespace vexlo
