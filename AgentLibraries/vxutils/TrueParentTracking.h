// Parent tracking for programs that the agent launches.
#pragma once
#include <string>

namespace vxutils {

/// Registers this process as the true parent of a program that it launches through another one
/// (`open`, `sudo`), which would otherwise pass for its parent.
class TrueParentTracking {
 public:
  virtual ~TrueParentTracking() = default;
  /// True when the registration was taken, also when it stood already. An empty name is refused.
  [[nodiscard]] virtual bool registerAsTrueParent(const std::string& programName) = 0;
};

/// Keeps the registrations in the process itself, where the agent can ask for them: no service of
/// the system is told. Objects share the registrations. Safe from any thread.
class ProcessInformation final : public TrueParentTracking {
 public:
  [[nodiscard]] bool registerAsTrueParent(const std::string& programName) override;
  /// Whether this process has vouched for the program of that name.
  [[nodiscard]] static bool isTrueParent(const std::string& programName);
};

}  // namespace vxutils
