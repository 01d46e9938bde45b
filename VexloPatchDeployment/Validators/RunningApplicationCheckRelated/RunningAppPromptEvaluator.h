// Decides how to prompt: normally, not at all today, or for the last time.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppMeasurements.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"

namespace vexlo {

struct RunningAppPromptEvaluation {
  /// Remaining postponements, including the one that this prompt offers. 0 without a limit and for
  /// the forced prompt.
  std::int64_t remainingSkipAttempts = 0;
  bool allowScreenGrab = false;  ///< The prompt comes to the front.
  RunningAppPromptDecision decision = RunningAppPromptDecision::promptUser;

  friend bool operator==(const RunningAppPromptEvaluation&,
                         const RunningAppPromptEvaluation&) = default;
};

/// The keys of a prompt record.
namespace RunningAppPromptDataStoreKeys {
inline constexpr std::string_view patchID = "patchID";
inline constexpr std::string_view promptShownCount = "promptShownCount";
/// Today, «16-11-2026», in the system's calendar and time zone. Determined once per process, so a
/// process that runs past midnight keeps counting for its first day.
[[nodiscard]] const std::string& currentDate();
}  // namespace RunningAppPromptDataStoreKeys

class RunningAppPromptEvaluating {
 public:
  virtual ~RunningAppPromptEvaluating() = default;
  /// How to prompt about the key's applications for the patch. Counts the prompt as shown unless it
  /// is skipped or no limit is configured. Never fails.
  [[nodiscard]] virtual RunningAppPromptEvaluation evaluate(const std::string& key,
                                                            const std::string& patchID) = 0;
};

/// Compares the customization's limits with the stored counts. Not thread-safe.
class RunningAppPromptEvaluator final : public RunningAppPromptEvaluating {
 public:
  /// The collaborators must outlive this object. Prompts are counted for the day `currentDate`.
  RunningAppPromptEvaluator(
      RunningAppPromptCustomizing& customizationProvider, RunningAppPromptDataStoring& dataStore,
      std::function<std::string()> currentDate = RunningAppPromptDataStoreKeys::currentDate)
      : customizationProvider_(customizationProvider),
        dataStore_(dataStore),
        currentDate_(std::move(currentDate)) {}
  [[nodiscard]] RunningAppPromptEvaluation evaluate(const std::string& key,
                                                    const std::string& patchID) override;

 private:
  RunningAppPromptCustomizing& customizationProvider_;
  RunningAppPromptDataStoring& dataStore_;
  std::function<std::string()> currentDate_;
};

}  // namespace vexlo
