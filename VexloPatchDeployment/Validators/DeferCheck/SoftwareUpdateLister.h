// Lists Apple's software updates, and checks whether Apple's service is reachable.
#pragma once
#include <string_view>

#include "VexloPatchDeployment/Adapters/CommandExecutor.h"

namespace vexlo {

/// Printed by Apple's tools if the service doesn't answer.
inline constexpr std::string_view kCantConnectToSoftwareUpdate =
    "Can’t connect to the Apple Software Update server";

/// An evaluation of recorded facts replaces it.
class SoftwareUpdateLister {
 public:
  virtual ~SoftwareUpdateLister() = default;
  /// Lists the updates available for this machine.
  [[nodiscard]] virtual CommandResult fetchSoftwareUpdates() = 0;
};

/// Runs /usr/sbin/softwareupdate without a shell and waits for it to exit. Stateless.
class SystemSoftwareUpdateLister final : public SoftwareUpdateLister {
 public:
  [[nodiscard]] CommandResult fetchSoftwareUpdates() override;
};

/// The service is reachable if listing the updates succeeds and doesn't report a connection
/// failure. Not thread-safe.
class AppleSoftwareUpdateConnectivityChecker {
 public:
  /// `softwareUpdateLister` must outlive this object.
  explicit AppleSoftwareUpdateConnectivityChecker(SoftwareUpdateLister& softwareUpdateLister)
      : softwareUpdateLister_(softwareUpdateLister) {}

  /// Takes as long as listing the updates from Apple's servers.
  [[nodiscard]] bool isAppleSoftwareUpdateReachable();

 private:
  SoftwareUpdateLister& softwareUpdateLister_;
};

}  // namespace vexlo
