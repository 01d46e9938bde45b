// The prompt's texts, waits and limits, as the agent configured them.
#pragma once
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "Platform/PropertyList.h"
#include "VexloPatchDeployment/Adapters/PlistDecoding.h"
#include "VexloPatchDeployment/Common/OnFirstUse.h"

namespace vexlo {

/// The settings of the customization file; a key that the file lacks is absent here.
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

  /// Reads the keys that are present; unknown ones are ignored. Throws `FileCodec::DecodingError`
  /// for the first key whose value is of another type: no Boolean is an integer or a text, nor
  /// the other way round, and an integer is one of the signed 64-bit range.
  [[nodiscard]] static RunningAppPromptCustomization decode(
      const platform::PropertyList::Dictionary& settings);
  /// The present fields under their keys; absent fields are left out.
  [[nodiscard]] platform::PropertyList::Dictionary encode() const;

  friend bool operator==(const RunningAppPromptCustomization&,
                         const RunningAppPromptCustomization&) = default;
};

/// For log lines: every field with its name and value, on one line.
[[nodiscard]] std::string describe(const RunningAppPromptCustomization& customization);
std::ostream& operator<<(std::ostream& out, const RunningAppPromptCustomization& customization);

/// How long the prompt is waited for, in seconds: the minutes of its own countdown, 15 where none
/// are set, and 30 seconds more. Saturates.
[[nodiscard]] std::int64_t promptTimeoutSeconds(
    const std::optional<RunningAppPromptCustomization>& customization);

struct RunningAppPromptCustomizationProviderConstants {
  RunningAppPromptCustomizationProviderConstants() = delete;
  /// The customization file, worked out once per process.
  [[nodiscard]] static const std::string& plistPath();
};

class RunningAppPromptCustomizing {
 public:
  virtual ~RunningAppPromptCustomizing() = default;
  /// The same as `customizationData()`.
  [[nodiscard]] virtual std::optional<RunningAppPromptCustomization> customization() = 0;
  /// The settings; absent when the agent has none or they can't be used. Lives as long as this
  /// object.
  [[nodiscard]] virtual const std::optional<RunningAppPromptCustomization>& customizationData() = 0;
};

/// Reads the customization file on the first question and keeps the answer, absence included. For
/// one thread at a time.
class RunningAppPromptCustomizationProvider final : public RunningAppPromptCustomizing {
 public:
  /// `plistDecoder` must outlive this object.
  explicit RunningAppPromptCustomizationProvider(PlistDecoding& plistDecoder);
  [[nodiscard]] std::optional<RunningAppPromptCustomization> customization() override;
  [[nodiscard]] const std::optional<RunningAppPromptCustomization>& customizationData() override;

 private:
  OnFirstUse<std::optional<RunningAppPromptCustomization>> customizationData_;
};

}  // namespace vexlo
