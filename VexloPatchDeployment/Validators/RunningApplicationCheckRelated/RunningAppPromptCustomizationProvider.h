// The agent's customization of the prompt: texts, time limit, number of prompts.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Adapters/PlistDecoding.h"
#include "VexloPatchDeployment/Common/OnFirstUse.h"

namespace vexlo {

/// The settings in the customization file; missing keys are absent.
struct RunningAppPromptCustomization {
  std::optional<std::string> subTitle = {};
  std::optional<std::string> messageText = {};
  std::optional<std::string> timerText = {};
  std::optional<std::int64_t> skipTimerCount = {};  ///< In minutes; "skipTimerCountInMinutes".
  std::optional<bool> disablePostponeButton = {};
  std::optional<std::string> postponeBtnText = {};
  std::optional<std::string> updateNowBtnText = {};
  /// An unanswered prompt counts as yes; "forceDeploy".
  std::optional<bool> enableForceDeploy = {};
  std::optional<std::string> infoText = {};
  std::optional<std::string> warningMessage = {};
  std::optional<bool> allowScreenGrab = {};               ///< The prompt comes to the front.
  std::optional<std::int64_t> numberOfSkipAttempts = {};  ///< Postponements for one patch.
  std::optional<std::string> infoTextForLastForceAttempt = {};
  std::optional<std::string> timerTextForLastForceAttempt = {};
  std::optional<std::int64_t> dailyPromptLimit = {};  ///< Prompts per day.

  /// Unknown keys are ignored. Throws `FileCodec::DecodingError` for the first value of the wrong
  /// type. Types are not converted, and integers must fit in signed 64 bits.
  [[nodiscard]] static RunningAppPromptCustomization decode(
      const platform::PropertyList::Dictionary& settings);
  /// All keys.
  [[nodiscard]] static std::vector<std::string_view> keys();
  /// The fields under their keys; absent fields are left out.
  [[nodiscard]] platform::PropertyList::Dictionary encode() const;

  friend bool operator==(const RunningAppPromptCustomization&,
                         const RunningAppPromptCustomization&) = default;
};

/// How long to wait for the prompt, in seconds: the prompt's countdown, by default 15 minutes, plus
/// 30 seconds. Saturates.
[[nodiscard]] std::int64_t promptTimeoutSeconds(
    const std::optional<RunningAppPromptCustomization>& customization);

namespace RunningAppPromptCustomizationProviderConstants {
/// The customization file, determined once per process.
[[nodiscard]] const std::string& plistPath();
}  // namespace RunningAppPromptCustomizationProviderConstants

class RunningAppPromptCustomizing {
 public:
  virtual ~RunningAppPromptCustomizing() = default;
  /// The same as `customizationData()`.
  [[nodiscard]] virtual std::optional<RunningAppPromptCustomization> customization() = 0;
  /// The settings; absent if there are none or they are unusable. Lives as long as this object.
  [[nodiscard]] virtual const std::optional<RunningAppPromptCustomization>& customizationData() = 0;
};

/// Reads the customization file on the first call and keeps the result, even if absent. Not
/// thread-safe.
class RunningAppPromptCustomizationProvider final : public RunningAppPromptCustomizing {
 public:
  /// `plistDecoder` must outlive this object.
  explicit RunningAppPromptCustomizationProvider(PlistDecoding& plistDecoder);
  [[nodiscard]] std::optional<RunningAppPromptCustomization> customization() override {
    return customizationData();
  }
  [[nodiscard]] const std::optional<RunningAppPromptCustomization>& customizationData() override {
    return customizationData_.get();
  }

 private:
  OnFirstUse<std::optional<RunningAppPromptCustomization>> customizationData_;
};

}  // namespace vexlo
