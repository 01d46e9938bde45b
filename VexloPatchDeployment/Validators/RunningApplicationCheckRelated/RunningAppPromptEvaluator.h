// Decides how to prompt: normally, not at all today, or for the last time.
#pragma once
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Common/ActionObserver.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"

namespace vexlo {

/// The enumerator's name.
[[nodiscard]] std::string_view describe(RunningAppPromptDecision decision);

struct RunningAppPromptEvaluation {
  /// Postponements that the user still has, the one that this prompt offers included. 0 without
  /// such a limit and on the forced attempt.
  std::int64_t remainingSkipAttempts = 0;
  bool allowScreenGrab = false;  ///< The prompt comes to the front.
  RunningAppPromptDecision decision = RunningAppPromptDecision::promptUser;

  friend bool operator==(const RunningAppPromptEvaluation&,
                         const RunningAppPromptEvaluation&) = default;
};
std::ostream& operator<<(std::ostream& out, const RunningAppPromptEvaluation& evaluation);

/// The keys of a prompt record.
struct RunningAppPromptDataStoreKeys {
  RunningAppPromptDataStoreKeys() = delete;
  static constexpr std::string_view patchID = "patchID";
  static constexpr std::string_view promptShownCount = "promptShownCount";
  /// Today, «16-11-2026», in the system's calendar and time zone. Worked out once per process: a
  /// process that runs past midnight counts on under its first day.
  [[nodiscard]] static const std::string& currentDate();
};

class RunningAppPromptEvaluating {
 public:
  virtual ~RunningAppPromptEvaluating() = default;
  /// How to prompt about the applications of the prompt key for the patch. Counts one prompt as
  /// shown, unless the answer is to skip or no limit is configured. Never fails.
  [[nodiscard]] virtual RunningAppPromptEvaluation evaluate(const std::string& key,
                                                            const std::string& patchID) = 0;
};

/// Weighs the customization's limits against the stored counts. Has no state of its own; for one
/// thread at a time.
class RunningAppPromptEvaluator final : public RunningAppPromptEvaluating {
 public:
  /// The collaborators must outlive this object; `currentDate` names the day
  /// that prompts are counted under.
  RunningAppPromptEvaluator(
      RunningAppPromptCustomizing& customizationProvider, RunningAppPromptDataStoring& dataStore,
      std::function<std::string()> currentDate = RunningAppPromptDataStoreKeys::currentDate);
  [[nodiscard]] RunningAppPromptEvaluation evaluate(const std::string& key,
                                                    const std::string& patchID) override;

 private:
  RunningAppPromptCustomizing& customizationProvider_;
  RunningAppPromptDataStoring& dataStore_;
  std::function<std::string()> currentDate_;
};

}  // namespace vexlo
