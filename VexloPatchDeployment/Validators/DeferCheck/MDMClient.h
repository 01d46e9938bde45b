// Runs the machine's MDM client.
#pragma once
#include <cstdint>
#include <string>

namespace vexlo {

/// What a run of the MDM client left.
struct MDMClientOutput {
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error, as they came.
};

class MDMClientCommandExecutor {
 public:
  virtual ~MDMClientCommandExecutor() = default;
  /// The MDM client's report on the macOS updates that the system sees, with their deferrals.
  [[nodiscard]] virtual MDMClientOutput fetchAvailableOSUpdatesRaw() = 0;
};

/// Runs /usr/libexec/mdmclient without a shell and waits for its end. Stateless.
class SystemMDMClient final : public MDMClientCommandExecutor {
 public:
  [[nodiscard]] MDMClientOutput fetchAvailableOSUpdatesRaw() override;
};

}  // namespace vexlo
