// Tells the user that an update is under way.
#pragma once

namespace vexlo {

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
