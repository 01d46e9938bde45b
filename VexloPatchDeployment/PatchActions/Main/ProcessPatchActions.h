// Runs the actions of one patch: the library's entry point.
#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Common/Export.h"
#include "VexloPatchDeployment/Common/PatchActionFileError.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"

namespace vexlo {

class PatchActionGroup;
class PatchProcessingDependencies;

/// Runs single actions of one patch and tells what came of each. Everything happens on the
/// calling thread and may take hours (an installation); one processor is for one thread at a
/// time. The actions that apply are worked out on the first question and kept; all else is asked
/// afresh by every `execute`.
class VEXLO_EXPORT ProcessPatchActions {
 public:
  /// Takes the patch action file from the process's cache, which reads it once. Throws
  /// `PatchActionFileError` when it could not be read or decoded. Afterwards nothing throws but
  /// `std::bad_alloc`, in a process that is out of memory; the processor stays usable then.
  ///
  /// The prompt about running applications is waited for with the run loop of the thread that calls
  /// `execute`. That thread needs an input source in its loop's default mode (`RunLoop.h`); without
  /// one the answer is read at once, so that a forced prompt counts as agreed before it was seen.
  explicit ProcessPatchActions(PatchIdentifier patchIdentifier);
  virtual ~ProcessPatchActions();
  ProcessPatchActions(const ProcessPatchActions&) = delete;
  ProcessPatchActions& operator=(const ProcessPatchActions&) = delete;

 protected:
  /// For a file that is decoded already, with production collaborators.
  ProcessPatchActions(PatchIdentifier patchIdentifier,
                      std::shared_ptr<const PatchActionGroup> patchActionGroup);
  /// The same with other collaborators. Nothing is null.
  ProcessPatchActions(PatchIdentifier patchIdentifier,
                      std::shared_ptr<const PatchActionGroup> patchActionGroup,
                      std::unique_ptr<PatchProcessingDependencies> dependencies);

  /// Runs all applicable actions in order, up to the first that is no success, and returns that
  /// one's result; `success` without a description when all passed.
  virtual PatchActionResult execute();

 public:
  /// Runs one action; running it twice runs it twice. An action that doesn't apply to the patch
  /// counts as passed. A pre-condition that isn't met, and missing or unusable arguments, give
  /// `applyLater`; `failure` comes from installers only.
  virtual PatchActionResult execute(const ActionID& action);

  /// The action's arguments for this patch; absent when it doesn't apply, empty when it applies
  /// without arguments.
  virtual std::optional<std::vector<std::string>> arguments(const ActionID& action);

  /// From now on `observer` is told what actions measure and how far they have got; null ends that.
  /// Results and log lines are the same with and without one. Not to be called while an action
  /// runs.
  void setObserver(std::shared_ptr<ActionObserver> observer);

 private:
  class VEXLO_HIDDEN Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace vexlo
