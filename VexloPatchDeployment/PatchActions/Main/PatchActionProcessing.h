// What an agent's code asks of a processor, so that its tests can put a fake in its place.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace vexlo {

/// Runs single actions of one patch. `ProcessPatchActions` does so on this machine;
/// `FakePatchActionProcessor` gives the results that a test has set.
class VEXLO_EXPORT PatchActionProcessing {
 public:
  virtual ~PatchActionProcessing() = default;

 protected:
  /// Runs all applicable actions in order, up to the first that is no success, and returns that
  /// one's result; `success` without a description when all passed.
  virtual PatchActionResult execute() = 0;

 public:
  /// Runs one action. One that doesn't apply to the patch counts as passed.
  virtual PatchActionResult execute(const ActionID& action) = 0;
  /// The action's arguments for this patch; absent when it doesn't apply.
  virtual std::optional<std::vector<std::string>> arguments(const ActionID& action) = 0;
};

}  // namespace vexlo
