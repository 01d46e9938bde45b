// Lists the macOS updates that the MDM client reports.
#pragma once
#include <optional>
#include <string>
#include <vector>

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

/// One update in the MDM client's report. Missing members are absent.
struct AvailableOSUpdate {
  std::optional<std::string> build;          ///< «25F71»
  std::optional<std::string> deferredUntil;  ///< Date and time: «2024-06-15 00:00:00 +0000»
  std::optional<std::string> productKey;     ///< Apple's product key of the update.
  std::optional<std::string> version;        ///< The macOS version: «14.5»
  friend bool operator==(const AvailableOSUpdate&, const AvailableOSUpdate&) = default;
};

/// For log lines: AvailableOSUpdate(build: Optional("25F71"), deferredUntil: nil, …).
[[nodiscard]] std::string describe(const AvailableOSUpdate& update);

/// The MDM client's report.
struct AvailableOSUpdates {
  std::vector<AvailableOSUpdate> updates;  ///< In the report's order.
  /// False if the MDM client printed no readable list, as on macOS 27; `updates` is then empty.
  bool isListed = true;
};

/// An evaluation of recorded facts replaces it.
class AvailableOSUpdatesResolver {
 public:
  virtual ~AvailableOSUpdatesResolver() = default;
  /// Absent if the request failed.
  [[nodiscard]] virtual std::optional<AvailableOSUpdates> availableOSUpdates() = 0;
};

/// Runs the MDM client on every call, which fails if it exits with another status than 0 or can't
/// reach Apple's server. Stateless.
class SystemAvailableOSUpdates final : public AvailableOSUpdatesResolver {
 public:
  /// `mdmClientCommandExecutor` must outlive this object.
  explicit SystemAvailableOSUpdates(MDMClientCommandExecutor& mdmClientCommandExecutor)
      : mdmClientCommandExecutor_(mdmClientCommandExecutor) {}
  [[nodiscard]] std::optional<AvailableOSUpdates> availableOSUpdates() override;

 private:
  MDMClientCommandExecutor& mdmClientCommandExecutor_;
};

}  // namespace vexlo
