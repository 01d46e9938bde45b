// Lists Apple's software updates, and tells from that whether their service answers.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vexlo {

/// What Apple's tools write where the service doesn't answer.
inline constexpr std::string_view kCantConnectToSoftwareUpdate =
    "Can’t connect to the Apple Software Update server";

/// What listing the updates left.
struct SoftwareUpdateList {
  std::int32_t exitCode = 0;
  std::string output;  ///< Standard output and error, as they came.
};

class SoftwareUpdateLister {
 public:
  virtual ~SoftwareUpdateLister() = default;
  /// Lists the updates that Apple's service offers this machine.
  [[nodiscard]] virtual SoftwareUpdateList fetchSoftwareUpdates() = 0;
};

/// Runs /usr/sbin/softwareupdate without a shell and waits for its end. Stateless.
class SystemSoftwareUpdateLister final : public SoftwareUpdateLister {
 public:
  [[nodiscard]] SoftwareUpdateList fetchSoftwareUpdates() override;
};

/// Takes the service as reachable when the updates can be listed and the tool doesn't complain
/// that it can't connect. Stateless. Used from one thread at a time.
class AppleSoftwareUpdateConnectivityChecker {
 public:
  /// `softwareUpdateLister` must outlive this object.
  explicit AppleSoftwareUpdateConnectivityChecker(SoftwareUpdateLister& softwareUpdateLister);

  /// Takes as long as the listing, which contacts Apple's servers.
  [[nodiscard]] bool isAppleSoftwareUpdateReachable();

 private:
  SoftwareUpdateLister& softwareUpdateLister_;
};

}  // namespace vexlo
