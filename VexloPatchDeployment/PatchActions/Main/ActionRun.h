// What an action gets when it runs, and what the functions of actions have in common.
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

}  // namespace vexlo
