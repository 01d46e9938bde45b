// Arbitrary bytes in the agent's property-list files: every setting and the evaluation of the
// counts must equal those of a second implementation, and saving a count must keep all else.
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Fuzz/FuzzedAgent.h"
#include "Fuzz/PropertyLists.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"
#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPolicy.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptDataStore.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptEvaluator.h"

namespace {

using namespace vexlo;
using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;
using Customization = RunningAppPromptCustomization;

constexpr const char* kToday = "01-01-2026";

/// The dictionary's value if it has this type, else null.
template <typename Type>
const Type* find(const Dictionary& dictionary, std::string_view key) {
  const auto entry = dictionary.find(key);
  return entry == dictionary.end() ? nullptr : entry->second.as<Type>();
}

void compareSettings(const Dictionary& file) {
  PlistFile settings(patchDataFile());
  const auto isTrue = [&](const char* key) {
    const bool* const flag = find<bool>(file, key);
    return flag != nullptr && *flag;
  };
  RunningAppPolicy policy(settings);
  require(policy.isAlwaysKillAppsEnabled() == isTrue("AlwaysKillApps"), "AlwaysKillApps");
  require(policy.isPromptEnabled() == isTrue("ApplicationRunningPrompt"), "prompt");
  require(MacOSUpdateDeferralEligibilityChecker(settings).isDisabled() ==
              isTrue("DisableMacOSUpdateDeferralCheck"),
          "deferral check");
  const auto* const status = find<std::int64_t>(file, "OSPatchingViaMDMStatus");
  const auto* const real = find<double>(file, "OSPatchingViaMDMStatus");
  const auto* const word = find<std::string>(file, "IsMDMPatchingEnabled");
  require(MDMPatchingStatusChecker(settings).isEnabled() ==
              (((status != nullptr && *status == 1) || (real != nullptr && *real == 1)) &&
               (word == nullptr || (word->size() == 4 && strcasecmp(word->c_str(), "true") == 0))),
          "patching through MDM");
}

/// Absent if a value has a wrong type.
std::optional<Customization> customizationIn(const Dictionary& file) {
  Customization customization;
  bool usable = true;
  const auto take = [&]<typename Type>(const char* key, std::optional<Type>& field) {
    if (const Type* const value = find<Type>(file, key)) {
      field = *value;
    } else {
      usable = usable && !file.contains(key);
    }
  };
  take("subTitle", customization.subTitle);
  take("messageText", customization.messageText);
  take("timerText", customization.timerText);
  take("skipTimerCountInMinutes", customization.skipTimerCount);
  take("disablePostponeButton", customization.disablePostponeButton);
  take("postponeBtnText", customization.postponeBtnText);
  take("updateNowBtnText", customization.updateNowBtnText);
  take("forceDeploy", customization.enableForceDeploy);
  take("infoText", customization.infoText);
  take("warningMessage", customization.warningMessage);
  take("allowScreenGrab", customization.allowScreenGrab);
  take("numberOfSkipAttempts", customization.numberOfSkipAttempts);
  take("infoTextForLastForceAttempt", customization.infoTextForLastForceAttempt);
  take("timerTextForLastForceAttempt", customization.timerTextForLastForceAttempt);
  take("dailyPromptLimit", customization.dailyPromptLimit);
  return usable ? std::optional(customization) : std::nullopt;
}

std::int64_t clamped(__int128 number) {
  using Limits = std::numeric_limits<std::int64_t>;
  return static_cast<std::int64_t>(std::clamp<__int128>(number, Limits::min(), Limits::max()));
}

/// Evaluates the counts and updates them.
RunningAppPromptEvaluation expectedEvaluation(const Customization& customization,
                                              Dictionary& counts) {
  using enum RunningAppPromptDecision;
  const std::int64_t skips = customization.numberOfSkipAttempts.value_or(0);
  const std::int64_t limit = customization.dailyPromptLimit.value_or(0);
  RunningAppPromptEvaluation result{
      .remainingSkipAttempts = skips,
      .allowScreenGrab = customization.allowScreenGrab == true,
      .decision = customization.enableForceDeploy == true ? forceDeployment : promptUser};
  const Dictionary* const record = find<Dictionary>(counts, "key");
  const std::string* const patchID =
      record == nullptr ? nullptr : find<std::string>(*record, "patchID");
  std::int64_t total = 0;
  std::int64_t today = 0;
  if (skips < 1 && limit < 1) {
    result.remainingSkipAttempts = 0;
    return result;
  }
  if (patchID != nullptr && *patchID == "7") {
    const auto count = [&](const char* key) {
      const std::int64_t* const number = find<std::int64_t>(*record, key);
      return number == nullptr ? 0 : *number;
    };
    total = count("promptShownCount");
    today = count(kToday);
    result.remainingSkipAttempts = 0;
    if (limit >= 1 && today >= limit) {
      result.decision = skipDeployment;
      return result;
    }
    if (skips >= 1 && total >= skips) {
      result.allowScreenGrab = true;
      result.decision = forceDeployment;
    } else if (skips >= 1) {
      result.remainingSkipAttempts = clamped(__int128{skips} - total);
    }
  }
  counts["key"] = Dictionary{{"patchID", "7"},
                             {"promptShownCount", clamped(__int128{total} + 1)},
                             {kToday, clamped(__int128{today} + 1)}};
  return result;
}

/// The dictionary in a file's bytes; absent if they are something else.
std::optional<Dictionary> dictionaryIn(std::string_view bytes) {
  const auto list = platform::parsePropertyList(bytes);
  const auto* const dictionary = list ? list->as<Dictionary>() : nullptr;
  return dictionary == nullptr ? std::nullopt : std::optional(*dictionary);
}

void requireSaved(const Dictionary& counts, const char* what) {
  const auto saved = dictionaryIn(FuzzedAgent::read(RunningAppPromptDataStore::plistPath()));
  require(afterSaving(saved.value_or(Dictionary())) == afterSaving(counts), what);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string path = RunningAppPromptDataStore::plistPath();
  FuzzedAgent::write(patchDataFile(), bytes);
  FuzzedAgent::write(RunningAppPromptCustomizationProviderConstants::plistPath(), bytes);
  FuzzedAgent::write(path, bytes);
  const std::optional<Dictionary> file = dictionaryIn(bytes);
  Dictionary counts = file.value_or(Dictionary());
  compareSettings(counts);

  PlistSerializer decoder;
  RunningAppPromptCustomizationProvider customizing(decoder);
  const std::optional<Customization>& customization = customizing.customizationData();
  require(customization == (file ? customizationIn(*file) : std::nullopt), "customization");
  const std::int64_t minutes = customization ? customization->skipTimerCount.value_or(15) : 15;
  require(promptTimeoutSeconds(customization) ==
              clamped(clamped(__int128{minutes} * 60) + __int128{30}),
          "the prompt's time");

  PlistFile countsFile(path);
  RunningAppPromptDataStore store(countsFile);
  const RunningAppPromptEvaluation evaluation =
      RunningAppPromptEvaluator(customizing, store, [] { return kToday; }).evaluate("key", "7");
  require(evaluation == expectedEvaluation(customization.value_or(Customization()), counts),
          "another evaluation");
  requireSaved(counts, "other counts");
  counts["saved"] = Dictionary{{"promptShownCount", std::int64_t{1}}};
  store.saveData(*find<Dictionary>(counts, "saved"), "saved");
  requireSaved(counts, "other values after saving");
  if (!file && size > 0) {
    require(FuzzedAgent::read(path + ".damaged") == bytes, "a damaged file is lost");
    std::filesystem::remove(path + ".damaged");
  }
  return 0;
}
