#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPolicy.h"

#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"

namespace vexlo {
namespace {

constexpr LogTag kAlwaysKillTag{"isAlwaysKillAppsEnabled()"};
constexpr LogTag kPromptTag{"isPromptEnabled()"};

}  // namespace

const std::string& RunningAppPolicyConstants::plistPath() {
  static const std::string path = patchDataFile();
  return path;
}

bool RunningAppPolicy::isAlwaysKillAppsEnabled() {
  const bool enabled = plistManager_.fetch<bool>(PatchDataKeys::alwaysKillApps).value_or(false);
  logInfo(kAlwaysKillTag, [&] {
    return enabled ? "Running application check is disabled since AlwaysKillApps is enabled."
                   : "Running application check is enabled since AlwaysKillApps is not enabled.";
  });
  return enabled;
}

bool RunningAppPolicy::isPromptEnabled() {
  const bool enabled =
      plistManager_.fetch<bool>(PatchDataKeys::applicationRunningPrompt).value_or(false);
  logInfo(kPromptTag, [&] {
    return enabled ? "Prompt for running applications is enabled."
                   : "Prompt for running applications is disabled.";
  });
  return enabled;
}

}  // namespace vexlo
