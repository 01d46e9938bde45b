// The functions of the actions that log as `ProcessPatchActions` and are defined in its file.
#pragma once
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/PatchActions/Main/ActionRun.h"

namespace vexlo {

PatchActionResult hasMinimumBatteryForSiliconMachine(const ActionRun& run);
PatchActionResult hasMinimumBatteryForIntelMachine(const ActionRun& run);
PatchActionResult isUserLoggedIn(const ActionRun& run);
/// Despite the name, passes if exactly one user is logged on.
PatchActionResult isMultipleUsersLoggedIn(const ActionRun& run);
PatchActionResult hasMinimumDiskSpace(const ActionRun& run);
/// Despite the name, passes if the update is known not to be deferred.
PatchActionResult isMacOSUpdateDeferred(const ActionRun& run);
PatchActionResult installmacOSUpdates(const ActionRun& run);
PatchActionResult applicationRunningCheck(const ActionRun& run);
PatchActionResult applicationRunningNotifier(const ActionRun& run);
PatchActionResult installMacOSUpdatesUsingInstallAssistant(const ActionRun& run);

}  // namespace vexlo
