// What an action gets when it runs, and the functions of the actions.
#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/Numbers.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Main/ActionMeasurements.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchProcessingDependencies.h"

namespace vexlo {

/// One run of an action that applies to the patch.
struct ActionRun {
  const ActionID& action;
  const std::vector<std::string>& arguments;
  const PatchIdentifier& patch;
  PatchProcessingDependencies& dependencies;

  /// The argument at this place; absent if there are fewer.
  [[nodiscard]] std::optional<std::string> argument(std::size_t index) const {
    return index < arguments.size() ? std::optional(arguments[index]) : std::nullopt;
  }
  /// The same as an integer; absent if it is missing or not an integer.
  [[nodiscard]] std::optional<std::int64_t> integer(std::size_t index) const {
    return index < arguments.size() ? parseInteger(arguments[index]) : std::nullopt;
  }
};

/// Reports what decided without a measurement.
void decidedBy(DecidingRule rule);

/// `applyLater`, because the action file lacks the `expected` argument or has `found` instead.
[[nodiscard]] PatchActionResult inSufficientArguments(std::string_view expected,
                                                      std::optional<std::string> found = {});

// The functions of the actions, which log as `ProcessPatchActions` and are defined in its file.

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
