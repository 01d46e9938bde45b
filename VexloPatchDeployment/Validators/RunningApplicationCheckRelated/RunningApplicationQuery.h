// Finds running applications by bundle identifier.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Adapters/RunningApplication.h"

namespace vexlo {

/// An evaluation of recorded facts replaces it.
class RunningApplicationQuerying {
 public:
  virtual ~RunningApplicationQuerying() = default;
  /// The running applications with exactly this bundle identifier, in the platform's order. Never
  /// fails.
  [[nodiscard]] virtual std::vector<RunningApplication> runningApplications(
      const std::string& bundleIdentifier) = 0;
};

/// Asks the platform on every call. If it can't tell, for example because no descriptor is free, it
/// is asked up to five times, half a second apart; then an error line says so, and only what was
/// found counts as running, so that deployment continues. Thread-safe.
class SystemRunningApplicationQuery final : public RunningApplicationQuerying {
 public:
  explicit SystemRunningApplicationQuery(platform::Sleeper sleeper = platform::systemSleeper())
      : sleeper_(std::move(sleeper)) {}
  [[nodiscard]] std::vector<RunningApplication> runningApplications(
      const std::string& bundleIdentifier) override;

 private:
  platform::Sleeper sleeper_;
};

}  // namespace vexlo
