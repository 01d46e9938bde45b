// Tells which macOS updates the machine sees, as its MDM client reports them.
#pragma once
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "VexloPatchDeployment/Validators/DeferCheck/MDMClient.h"

namespace vexlo {

/// One update of the MDM client's report. A text that the report lacks is absent.
struct AvailableOSUpdate {
  std::optional<std::string> build;          ///< «25F71»
  std::optional<std::string> deferredUntil;  ///< Date and time: «2024-06-15 00:00:00 +0000»
  std::optional<std::string> productKey;     ///< Apple's product key of the update.
  std::optional<std::string> version;        ///< The macOS version: «14.5»
  friend bool operator==(const AvailableOSUpdate&, const AvailableOSUpdate&) = default;
};

/// For log lines: AvailableOSUpdate(build: Optional("25F71"), deferredUntil: nil, …).
[[nodiscard]] std::string describe(const AvailableOSUpdate& update);
std::ostream& operator<<(std::ostream& out, const AvailableOSUpdate& update);

class AvailableOSUpdatesResolver {
 public:
  virtual ~AvailableOSUpdatesResolver() = default;
  /// The updates in the report's order; absent when they could not be asked for.
  [[nodiscard]] virtual std::optional<std::vector<AvailableOSUpdate>> availableOSUpdates() = 0;
};

/// Asks the MDM client anew on every call. A client that fails, or that can't reach Apple's
/// server, gives absent; a report that can't be read gives an empty list. Stateless.
class SystemAvailableOSUpdates final : public AvailableOSUpdatesResolver {
 public:
  /// `mdmClientCommandExecutor` must outlive this object.
  explicit SystemAvailableOSUpdates(MDMClientCommandExecutor& mdmClientCommandExecutor);
  [[nodiscard]] std::optional<std::vector<AvailableOSUpdate>> availableOSUpdates() override;

 private:
  MDMClientCommandExecutor& mdmClientCommandExecutor_;
};

}  // namespace vexlo
