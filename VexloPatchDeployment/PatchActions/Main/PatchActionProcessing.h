// The interface of a processor, which agents' tests replace with a fake.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace vexlo {

/// Runs the actions of one patch. `ProcessPatchActions` runs them on this machine;
/// `FakePatchActionProcessor` returns a test's results.
class VEXLO_EXPORT PatchActionProcessing {
 public:
  virtual ~PatchActionProcessing() = default;

 protected:
  /// Runs the applicable actions in order until one doesn't succeed and returns its result;
  /// `success` without a description if all succeed.
  virtual PatchActionResult execute() = 0;

 public:
  /// Runs one action. An action that doesn't apply to the patch succeeds.
  virtual PatchActionResult execute(const ActionID& action) = 0;
  /// The action's arguments for this patch; absent if it doesn't apply.
  virtual std::optional<std::vector<std::string>> arguments(const ActionID& action) = 0;
  /// Sets the observer of measurements and progress; null removes it. Results and log lines don't
  /// depend on it. Must not be called while an action runs.
  virtual void setObserver(std::shared_ptr<ActionObserver> observer) = 0;
};

}  // namespace vexlo
