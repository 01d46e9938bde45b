// The keys of the agent's patch data file that the library reads.
#pragma once
#include <array>

namespace vexlo::PatchDataKeys {

inline constexpr const char* alwaysKillApps = "AlwaysKillApps";
inline constexpr const char* applicationRunningPrompt = "ApplicationRunningPrompt";
inline constexpr const char* disableDeferralCheck = "DisableMacOSUpdateDeferralCheck";
inline constexpr const char* isMDMPatchingEnabled = "IsMDMPatchingEnabled";
inline constexpr const char* osPatchingViaMDMStatus = "OSPatchingViaMDMStatus";
inline constexpr std::array all{alwaysKillApps, applicationRunningPrompt, disableDeferralCheck,
                                isMDMPatchingEnabled, osPatchingViaMDMStatus};

}  // namespace vexlo::PatchDataKeys
