// Parent tracking for programs that the agent launches.
#pragma once
#include <string>

namespace vxutils {

/// Registers this process as the true parent of a program that it launches through another one
/// (`open`, `sudo`), which would otherwise appear to be the parent.
class TrueParentTracking {
 public:
  virtual ~TrueParentTracking() = default;
  /// Returns true if the program is now registered, even if it already was. An empty name is
  /// rejected.
  [[nodiscard]] virtual bool registerAsTrueParent(const std::string& programName) = 0;
};

/// Keeps the registrations in the process, where the agent can query them; no system service is
/// involved. All objects share them. Thread-safe.
class ProcessInformation final : public TrueParentTracking {
 public:
  [[nodiscard]] bool registerAsTrueParent(const std::string& programName) override;
  /// Whether this process has registered the program.
  [[nodiscard]] static bool isTrueParent(const std::string& programName);
};

}  // namespace vxutils
