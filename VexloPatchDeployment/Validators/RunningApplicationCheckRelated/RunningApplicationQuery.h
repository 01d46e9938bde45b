// Finds the running applications of a bundle identifier.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "VexloPatchDeployment/Adapters/RunningApplication.h"

namespace vexlo {

class RunningApplicationQuerying {
 public:
  virtual ~RunningApplicationQuerying() = default;
  /// The running applications with exactly that bundle identifier, possibly none, in the order
  /// that the platform gives. Never fails.
  [[nodiscard]] virtual std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) = 0;
};

/// Asks the platform's workspace anew on every call. Stateless; usable from any thread.
class SystemRunningApplicationQuery final : public RunningApplicationQuerying {
 public:
  [[nodiscard]] std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) override;
};

}  // namespace vexlo
