// Cleans up after a prompt: the prompt application and its answer.
#pragma once
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Adapters/SystemFileManager.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"

namespace vexlo {

namespace RunningAppPromptConstants {
/// The prompt application's bundle identifier.
inline constexpr std::string_view bundleIdentifier = "com.tervane.ApplicationRunningPrompt";
/// The file with the user's answer; determined once per process.
[[nodiscard]] const std::string& returnCodeFilePath();
}  // namespace RunningAppPromptConstants

/// Replaced where nothing may change on the machine, as in tests.
class RunningAppPromptCleaning {
 public:
  virtual ~RunningAppPromptCleaning() = default;
  /// Kills running prompt applications and removes the answer, so that an old answer is never
  /// mistaken for a new one.
  virtual void clean() = 0;
};

/// Stateless.
class RunningAppPromptCleaner final : public RunningAppPromptCleaning {
 public:
  /// The collaborators must outlive this object.
  RunningAppPromptCleaner(AppKilling& appKiller, SystemFileManager& fileRemover)
      : appKiller_(appKiller), fileRemover_(fileRemover) {}
  void clean() override;

 private:
  AppKilling& appKiller_;
  SystemFileManager& fileRemover_;
};

}  // namespace vexlo
