// The agent's two settings for running applications: always kill, and prompt the user.
#pragma once
#include <string>

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

namespace RunningAppPolicyConstants {
/// The patch data file, determined once per process.
[[nodiscard]] const std::string& plistPath();
}  // namespace RunningAppPolicyConstants

class RunningAppPolicyChecking {
 public:
  virtual ~RunningAppPolicyChecking() = default;
  /// Whether running applications are killed without asking the user.
  [[nodiscard]] virtual bool isAlwaysKillAppsEnabled() = 0;
  /// Whether the user may be prompted.
  [[nodiscard]] virtual bool isPromptEnabled() = 0;
};

/// Reads the settings from the patch data file on every call. Only a Boolean true enables one; a
/// missing file or key, or a value of another type (the string "true", the number 1), doesn't.
class RunningAppPolicy final : public RunningAppPolicyChecking {
 public:
  /// `plistManager` must outlive this object.
  explicit RunningAppPolicy(PlistManager& plistManager) : plistManager_(plistManager) {}
  [[nodiscard]] bool isAlwaysKillAppsEnabled() override;
  [[nodiscard]] bool isPromptEnabled() override;

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
