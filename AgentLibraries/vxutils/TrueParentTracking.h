// Parent tracking for programs that the agent launches.
#pragma once
#include <string>

namespace vxutils {

/// Registers this process as the true parent of a program that it launches through another one.
class TrueParentTracking {
 public:
  virtual ~TrueParentTracking() = default;
  /// True when the registration was taken. An empty name is refused.
  [[nodiscard]] virtual bool registerAsTrueParent(const std::string& programName) = 0;
};

/// Keeps the registrations of this process.
class ProcessInformation final : public TrueParentTracking {
 public:
  [[nodiscard]] bool registerAsTrueParent(const std::string& programName) override;
};

}  // namespace vxutils
