// Prompts the console user to close running applications.
#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "AgentLibraries/vxutils/TrueParentTracking.h"
#include "VexloPatchDeployment/Adapters/CommandExecutor.h"
#include "VexloPatchDeployment/Adapters/SystemFileManager.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCleaner.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"
#include "VexloPatchDeployment/Validators/UserLoggedIn/UserLoggedIn.h"

namespace vexlo {

namespace RunningAppPromptPresenterConstants {
/// The prompt application's executable; determined once per process.
[[nodiscard]] const std::string& promptAppPath();
/// The same as `RunningAppPromptConstants::returnCodeFilePath()`.
[[nodiscard]] const std::string& returnCodeFilePath();
}  // namespace RunningAppPromptPresenterConstants

/// Replaced where nothing may change on the machine, as in tests.
class RunningAppPromptPresenting {
 public:
  virtual ~RunningAppPromptPresenting() = default;
  /// Shows the prompt for the applications with these display names and waits for the user, at most
  /// `timeoutSeconds`. Returns whether the user agreed; for an unanswered prompt, whether the
  /// evaluation forces the deployment. Never fails.
  [[nodiscard]] virtual bool requestUserAcknowledgement(
      const std::vector<std::string>& names, const RunningAppPromptEvaluation& evaluation,
      std::int64_t timeoutSeconds) = 0;
};

/// What a presenter needs from the process and the system; replaced in tests.
struct RunningAppPromptSurroundings {
  /// Determines how the prompt application is started.
  std::function<std::int64_t()> macOSMajorVersion = PatchDeploymentConstants::macOSMajorVersion;
  /// Runs the calling thread's run loop for at most the duration; false if it has no source.
  std::function<bool(std::chrono::milliseconds duration)> runLoop = runCurrentRunLoop;

  static bool runCurrentRunLoop(std::chrono::milliseconds duration);
};

/// Starts the prompt application in the console user's session, runs the calling thread's run loop
/// until it exits, and reads its answer from a file. Cleans up after every request, even if a
/// collaborator throws. Not thread-safe.
class RunningAppPromptPresenter final : public RunningAppPromptPresenting {
 public:
  /// The collaborators must outlive this object.
  RunningAppPromptPresenter(CommandExecutor& executor, UserSessionProvider& userSessionProvider,
                            RunningAppPromptCleaning& cleaner, SystemFileManager& fileManager,
                            RunningApplicationQuerying& runningApplicationQuery,
                            vxutils::TrueParentTracking& parentChecker,
                            RunningAppPromptSurroundings surroundings = {})
      : executor_(executor),
        userSessionProvider_(userSessionProvider),
        cleaner_(cleaner),
        fileManager_(fileManager),
        runningApplicationQuery_(runningApplicationQuery),
        parentChecker_(parentChecker),
        surroundings_(std::move(surroundings)) {}
  [[nodiscard]] bool requestUserAcknowledgement(const std::vector<std::string>& names,
                                                const RunningAppPromptEvaluation& evaluation,
                                                std::int64_t timeoutSeconds) override;

 private:
  struct Question;

  [[nodiscard]] std::string buildLaunchCommand(const RunningAppPromptEvaluation& evaluation,
                                               const std::vector<std::string>& names);
  /// Registers, launches, waits and reads; doesn't clean up.
  [[nodiscard]] PromptMeasurement::Answer askUser(const std::string& command, bool fallback,
                                                  std::int64_t timeoutSeconds);
  void waitForPromptDismissal(std::int64_t timeoutSeconds);
  /// False if the run loop has no source. Exceptions from its sources are only logged.
  [[nodiscard]] bool runLoopForOnePass();
  /// Accepts answers only from the user who was asked, the agent's user or root, and only if
  /// they were written since.
  [[nodiscard]] PromptMeasurement::Answer readUserAcknowledgement(bool fallback,
                                                                  const Question& question);

  CommandExecutor& executor_;
  UserSessionProvider& userSessionProvider_;
  RunningAppPromptCleaning& cleaner_;
  SystemFileManager& fileManager_;
  RunningApplicationQuerying& runningApplicationQuery_;
  vxutils::TrueParentTracking& parentChecker_;
  RunningAppPromptSurroundings surroundings_;
};

}  // namespace vexlo
