// Closes what a prompt left behind: the prompt application and its answer.
#pragma once
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Adapters/SystemFileManager.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/AppKiller.h"

namespace vexlo {

struct RunningAppPromptConstants {
  RunningAppPromptConstants() = delete;
  /// The prompt application's bundle identifier.
  static constexpr std::string_view bundleIdentifier = "com.tervane.ApplicationRunningPrompt";
  /// Where the prompt application writes the user's answer; worked out once per process.
  [[nodiscard]] static const std::string& returnCodeFilePath();
};

class RunningAppPromptCleaning {
 public:
  virtual ~RunningAppPromptCleaning() = default;
  /// Kills the prompt applications that still run and removes the answer, so that an old answer
  /// is never taken for a new one.
  virtual void clean() = 0;
};

/// Keeps nothing between calls.
class RunningAppPromptCleaner final : public RunningAppPromptCleaning {
 public:
  /// The collaborators must outlive this object.
  RunningAppPromptCleaner(AppKilling& appKiller, SystemFileManager& fileRemover);
  void clean() override;

 private:
  AppKilling& appKiller_;
  SystemFileManager& fileRemover_;
};

}  // namespace vexlo
