#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"

namespace vexlo {
namespace {

namespace Keys = RunningAppPromptDataStoreKeys;
using Decision = RunningAppPromptDecision;
using Record = RunningAppPromptDataStoring::Record;

constexpr LogTag kRunningAppPromptEvaluatorTag{"evaluate(for:having:)"};

bool isOfPatch(const Record& record, const std::string& patchID) {
  const auto entry = record.find(Keys::patchID);
  return entry != record.end() && entry->second == platform::PropertyList(patchID);
}

/// The count under `key`; 0 unless it is a signed 64-bit integer.
std::int64_t count(const Record& record, std::string_view key) {
  const auto entry = record.find(key);
  const auto* const number = entry != record.end() ? entry->second.as<std::int64_t>() : nullptr;
  return number != nullptr ? *number : 0;
}

Record makeRecord(const std::string& patchID, std::int64_t total, const std::string& date,
                  std::int64_t today) {
  return {{std::string(Keys::patchID), patchID},
          {std::string(Keys::promptShownCount), total},
          {date, today}};
}

}  // namespace

const std::string& RunningAppPromptDataStoreKeys::currentDate() {
  static const std::string date =
      platform::dayMonthYear(platform::dayOf(platform::systemClock()()));
  return date;
}

RunningAppPromptEvaluation RunningAppPromptEvaluator::evaluate(const std::string& key,
                                                               const std::string& patchID) {
  const RunningAppPromptCustomization customization =
      customizationProvider_.customizationData().value_or(RunningAppPromptCustomization{});
  const std::int64_t limit = customization.dailyPromptLimit.value_or(0);
  const std::int64_t skips = customization.numberOfSkipAttempts.value_or(0);
  RunningAppPromptEvaluation evaluation{
      .remainingSkipAttempts = 0,
      .allowScreenGrab = customization.allowScreenGrab.value_or(false),
      .decision = customization.enableForceDeploy.value_or(false) ? Decision::forceDeployment
                                                                  : Decision::promptUser};

  if (limit < 1 && skips < 1) {
    logInfo(kRunningAppPromptEvaluatorTag, [] {
      return "Daily prompt limit and number of skip attempts are both 0, Using default flow.";
    });
    return evaluation;
  }

  const std::optional<Record> record = dataStore_.data(key);
  const std::string date = currentDate_();
  if (!record || !isOfPatch(*record, patchID)) {
    logInfo(kRunningAppPromptEvaluatorTag, [&] {
      return text("New version detected for bundleID: ", key, ". Resetting prompt data.");
    });
    dataStore_.saveData(makeRecord(patchID, 1, date, 1), key);
    evaluation.remainingSkipAttempts = skips;
    return evaluation;
  }

  const std::int64_t today = count(*record, date);
  const std::int64_t total = count(*record, Keys::promptShownCount);
  if (limit >= 1 && today >= limit) {
    logInfo(kRunningAppPromptEvaluatorTag, [&] {
      return text("Daily prompt limit reached (", today, "/", limit, ") for bundleID: ", key,
                  ". Skipping deployment.");
    });
    evaluation.decision = Decision::skipDeployment;
    return evaluation;
  }

  if (skips >= 1 && total >= skips) {
    logInfo(kRunningAppPromptEvaluatorTag, [&] {
      return text(
          "Exceeded the number of skip attempts, skipping deployment, total number of prompts "
          "shown: ",
          total);
    });
    evaluation.allowScreenGrab = true;
    evaluation.decision = Decision::forceDeployment;
  } else if (skips >= 1) {
    evaluation.remainingSkipAttempts = saturatingDifference(skips, total);
  }
  dataStore_.saveData(makeRecord(patchID, saturatingSum(total, 1), date, saturatingSum(today, 1)),
                      key);
  return evaluation;
}

std::string_view describe(RunningAppPromptDecision decision) {
  constexpr std::array<std::string_view, 3> kNames{"promptUser", "skipDeployment",
                                                   "forceDeployment"};
  return kNames.at(std::to_underlying(decision));
}

}  // namespace vexlo
