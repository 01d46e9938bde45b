// The agent's two switches for running applications: kill them always, prompt the user.
#pragma once
#include <string>

#include "VexloPatchDeployment/Adapters/PlistManager.h"

namespace vexlo {

struct RunningAppPolicyConstants {
  RunningAppPolicyConstants() = delete;
  /// The patch data file, worked out once per process.
  [[nodiscard]] static const std::string& plistPath();
};

class RunningAppPolicyChecking {
 public:
  virtual ~RunningAppPolicyChecking() = default;
  /// Whether running applications are killed without asking the user.
  [[nodiscard]] virtual bool isAlwaysKillAppsEnabled() = 0;
  /// Whether the user may be prompted.
  [[nodiscard]] virtual bool isPromptEnabled() = 0;
};

/// Reads the switches from the patch data file, anew on every call. Only a Boolean true turns one
/// on: a missing file or key and a value of another type (the text "true", the number 1) mean off.
class RunningAppPolicy final : public RunningAppPolicyChecking {
 public:
  /// `plistManager` must outlive this object.
  explicit RunningAppPolicy(PlistManager& plistManager);
  [[nodiscard]] bool isAlwaysKillAppsEnabled() override;
  [[nodiscard]] bool isPromptEnabled() override;

 private:
  PlistManager& plistManager_;
};

}  // namespace vexlo
