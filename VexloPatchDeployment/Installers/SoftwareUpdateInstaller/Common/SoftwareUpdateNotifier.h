// Notifies the user that an update is in progress.
#pragma once

namespace vexlo {

/// Replaced where nothing may change on the machine, as in tests.
class SoftwareUpdateNotifier {
 public:
  virtual ~SoftwareUpdateNotifier() = default;
  virtual void notifyUpdatesInProgress() = 0;
};

/// Posts the agent's notification. Stateless.
class DefaultSoftwareUpdateNotifier final : public SoftwareUpdateNotifier {
 public:
  void notifyUpdatesInProgress() override;
};

}  // namespace vexlo
