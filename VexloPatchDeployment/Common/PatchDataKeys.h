// The keys of the agent's patch data file that the library reads.
#pragma once
#include <array>

namespace vexlo {

struct PatchDataKeys {
  PatchDataKeys() = delete;
  static constexpr const char* alwaysKillApps = "AlwaysKillApps";
  static constexpr const char* applicationRunningPrompt = "ApplicationRunningPrompt";
  static constexpr const char* disableDeferralCheck = "DisableMacOSUpdateDeferralCheck";
  static constexpr const char* isMDMPatchingEnabled = "IsMDMPatchingEnabled";
  static constexpr const char* osPatchingViaMDMStatus = "OSPatchingViaMDMStatus";
  static constexpr std::array all{alwaysKillApps, applicationRunningPrompt, disableDeferralCheck,
                                  isMDMPatchingEnabled, osPatchingViaMDMStatus};
};

}  // namespace vexlo
