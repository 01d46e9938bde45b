// Runs the machine's MDM client.
#pragma once
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

namespace vexlo {

class MDMClientCommandExecutor {
 public:
  virtual ~MDMClientCommandExecutor() = default;
  /// The MDM client's report of available macOS updates and their deferrals.
  [[nodiscard]] virtual CommandResult fetchAvailableOSUpdatesRaw() = 0;
};

/// Runs /usr/libexec/mdmclient without a shell and waits for it to exit. Stateless.
class SystemMDMClient final : public MDMClientCommandExecutor {
 public:
  [[nodiscard]] CommandResult fetchAvailableOSUpdatesRaw() override;
};

}  // namespace vexlo
