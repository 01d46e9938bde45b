// Arbitrary bytes in the agent's property-list files: every setting must have its value or default,
// and saving a count must keep all other keys.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Fuzz/FuzzedAgent.h"
#include "Platform/PropertyList.h"
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

/// The value of the key, read without the library's file access.
std::optional<PropertyList> valueIn(const std::optional<PropertyList>& file, std::string_view key) {
  const PropertyList* const value = file ? file->find(key) : nullptr;
  return value == nullptr ? std::nullopt : std::optional(*value);
}

void readPatchData(const std::optional<PropertyList>& file) {
  PlistFile settings(patchDataFile());
  const auto isTrue = [&](const char* key) { return valueIn(file, key) == PropertyList(true); };
  RunningAppPolicy policy(settings);
  require(policy.isAlwaysKillAppsEnabled() == isTrue("AlwaysKillApps"), "AlwaysKillApps");
  require(policy.isPromptEnabled() == isTrue("ApplicationRunningPrompt"), "prompt");
  require(MacOSUpdateDeferralEligibilityChecker(settings).isDisabled() ==
              isTrue("DisableMacOSUpdateDeferralCheck"),
          "deferral check");
  const auto status = valueIn(file, "OSPatchingViaMDMStatus");
  const bool isOne =
      status == PropertyList(std::int64_t{1}) || status == PropertyList(PropertyList::Value(1.0));
  require(!MDMPatchingStatusChecker(settings).isEnabled() || isOne, "patching through MDM");
}

RunningAppPromptEvaluation evaluate(const std::string& day) {
  PlistSerializer decoder;
  RunningAppPromptCustomizationProvider customizing(decoder);
  const auto& customization = customizing.customizationData();
  if (customization) {
    require(RunningAppPromptCustomization::decode(customization->encode()) == *customization,
            "customization is lost");
  }
  require(promptTimeoutSeconds(customization) != 0 || customization, "the default time");
  PlistFile countsFile(RunningAppPromptDataStore::plistPath());
  RunningAppPromptDataStore store(countsFile);
  return RunningAppPromptEvaluator(customizing, store, [&] { return day; }).evaluate("key", "7");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FuzzedAgent agent;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string counts = RunningAppPromptDataStore::plistPath();
  FuzzedAgent::write(patchDataFile(), bytes);
  FuzzedAgent::write(RunningAppPromptCustomizationProviderConstants::plistPath(), bytes);
  FuzzedAgent::write(counts, bytes);
  std::optional<PropertyList> file;
  if (auto parsed = platform::parsePropertyList(bytes);
      parsed && parsed->as<PropertyList::Dictionary>() != nullptr) {
    file = *std::move(parsed);
  }
  readPatchData(file);
  const RunningAppPromptEvaluation first = evaluate("01-01-2026");
  require(first.remainingSkipAttempts >= 0, "a negative number of attempts");

  PlistFile countsFile(counts);
  RunningAppPromptDataStore store(countsFile);
  const RunningAppPromptDataStoring::Record record{{"promptShownCount", std::int64_t{1}}};
  store.saveData(record, "saved");
  PlistFile savedFile(counts);
  require(RunningAppPromptDataStore(savedFile).data("saved") == record, "not saved");
  if (file) {
    for (const auto& [key, value] : *file->as<PropertyList::Dictionary>()) {
      const auto kept = PlistFile(counts).fetchValue(key);
      require(kept.has_value() || key == "saved", "another record is lost: " + key);
    }
  } else if (size > 0) {
    require(std::filesystem::remove(counts + ".damaged"), "a damaged file is lost");
  }
  return 0;
}
