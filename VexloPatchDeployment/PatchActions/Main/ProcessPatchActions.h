// Runs the actions of one patch: the library's entry point.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/PatchActionFileError.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"
#include "VexloPatchDeployment/PatchActions/Main/PatchActionProcessing.h"

namespace vexlo {

class PatchActionGroup;
class PatchProcessingDependencies;

/// Runs the actions of one patch and returns their results. Everything happens on the calling
/// thread and may take hours (an installation). Not thread-safe. The applicable actions are
/// determined once; everything else is checked again by every `execute`.
class VEXLO_EXPORT ProcessPatchActions : public PatchActionProcessing {
 public:
  /// Uses the process's cached patch action file, which is read once. Throws `PatchActionFileError`
  /// if it could not be read or decoded. Apart from that, only `std::bad_alloc` is thrown, after
  /// which the processor remains usable.
  ///
  /// While the prompt about running applications is shown, `execute` runs the calling thread's run
  /// loop, which needs an input source in its default mode (`RunLoop.h`). Without one, the answer
  /// is read immediately, so a forced prompt counts as agreed before the user has seen it.
  explicit ProcessPatchActions(PatchIdentifier patchIdentifier);
  ~ProcessPatchActions() override;
  ProcessPatchActions(const ProcessPatchActions&) = delete;
  ProcessPatchActions& operator=(const ProcessPatchActions&) = delete;

 protected:
  /// For a decoded file, with production collaborators.
  ProcessPatchActions(PatchIdentifier patchIdentifier,
                      std::shared_ptr<const PatchActionGroup> patchActionGroup);
  /// For a decoded file and other collaborators. Neither pointer may be null.
  ProcessPatchActions(PatchIdentifier patchIdentifier,
                      std::shared_ptr<const PatchActionGroup> patchActionGroup,
                      std::unique_ptr<PatchProcessingDependencies> dependencies);

  /// Runs the applicable actions in order until one doesn't succeed and returns its result;
  /// `success` without a description if all succeed.
  PatchActionResult execute() override;

 public:
  /// Runs one action, every time it is called. An action that doesn't apply to the patch succeeds.
  /// Unmet preconditions and missing or unusable arguments result in `applyLater`; only installers
  /// return `failure`.
  PatchActionResult execute(const ActionID& action) override;

  /// The action's arguments for this patch; absent if it doesn't apply, empty if it has none.
  std::optional<std::vector<std::string>> arguments(const ActionID& action) override;

  void setObserver(std::shared_ptr<ActionObserver> observer) override;

 private:
  struct VEXLO_HIDDEN Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace vexlo
