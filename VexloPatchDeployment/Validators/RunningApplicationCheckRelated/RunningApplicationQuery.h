// Finds running applications by bundle identifier.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "VexloPatchDeployment/Adapters/RunningApplication.h"

namespace vexlo {

/// Tests and recorded facts replace it.
class RunningApplicationQuerying {
 public:
  virtual ~RunningApplicationQuerying() = default;
  /// The running applications with exactly this bundle identifier, in the platform's order. Never
  /// fails.
  [[nodiscard]] virtual std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) = 0;
};

/// Asks the platform on every call. Stateless and thread-safe.
class SystemRunningApplicationQuery final : public RunningApplicationQuerying {
 public:
  [[nodiscard]] std::vector<std::unique_ptr<RunningApplication>> runningApplications(
      const std::string& bundleIdentifier) override;
};

}  // namespace vexlo
