#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningAppPromptCustomizationProvider.h"

#include <array>
#include <exception>
#include <ranges>
#include <string_view>
#include <utility>
#include <variant>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/AgentPaths.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Numbers.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace vexlo {
namespace {

using Customization = RunningAppPromptCustomization;
using platform::PropertyList;

constexpr LogTag kRunningAppPromptCustomizationProviderTag{"customizationData"};

template <typename Type>
using FieldOf = std::optional<Type> Customization::*;

struct Setting {
  std::string_view key;
  std::string_view fieldName;
  std::variant<FieldOf<std::string>, FieldOf<std::int64_t>, FieldOf<bool>> field;
};

constexpr std::array kSettings{
    Setting{"subTitle", "subTitle", &Customization::subTitle},
    Setting{"messageText", "messageText", &Customization::messageText},
    Setting{"timerText", "timerText", &Customization::timerText},
    Setting{"skipTimerCountInMinutes", "skipTimerCount", &Customization::skipTimerCount},
    Setting{"disablePostponeButton", "disablePostponeButton",
            &Customization::disablePostponeButton},
    Setting{"postponeBtnText", "postponeBtnText", &Customization::postponeBtnText},
    Setting{"updateNowBtnText", "updateNowBtnText", &Customization::updateNowBtnText},
    Setting{"forceDeploy", "enableForceDeploy", &Customization::enableForceDeploy},
    Setting{"infoText", "infoText", &Customization::infoText},
    Setting{"warningMessage", "warningMessage", &Customization::warningMessage},
    Setting{"allowScreenGrab", "allowScreenGrab", &Customization::allowScreenGrab},
    Setting{"numberOfSkipAttempts", "numberOfSkipAttempts", &Customization::numberOfSkipAttempts},
    Setting{"infoTextForLastForceAttempt", "infoTextForLastForceAttempt",
            &Customization::infoTextForLastForceAttempt},
    Setting{"timerTextForLastForceAttempt", "timerTextForLastForceAttempt",
            &Customization::timerTextForLastForceAttempt},
    Setting{"dailyPromptLimit", "dailyPromptLimit", &Customization::dailyPromptLimit},
};

constexpr std::string_view typeName(FieldOf<std::string> /*field*/) { return "a string"; }
constexpr std::string_view typeName(FieldOf<std::int64_t> /*field*/) {
  return "an integer of the signed 64-bit range";
}
constexpr std::string_view typeName(FieldOf<bool> /*field*/) { return "a Boolean"; }

/// What was found, for an error: the type, and the value if it is a scalar.
std::string describeFound(const PropertyList& value) {
  const std::string shown = platform::describe(value);
  return std::visit(
      Overloaded{[&](const std::string&) { return text("the text ", shown); },
                 [&](std::int64_t) { return text("the integer ", shown); },
                 [&](std::uint64_t) { return text("the integer ", shown); },
                 [&](double) { return text("the real number ", shown); },
                 [&](bool) { return text("the Boolean ", shown); },
                 [&](const platform::PropertyListDate&) { return text("the date ", shown); },
                 [](const PropertyList::Data&) { return std::string("data"); },
                 [](const PropertyList::Array&) { return std::string("an array"); },
                 [](const PropertyList::Dictionary&) { return std::string("a dictionary"); }},
      value.value());
}

template <typename Type>
void readSetting(const PropertyList& value, const Setting& setting, FieldOf<Type> field,
                 Customization& customization) {
  const Type* const typed = value.as<Type>();
  if (typed == nullptr) {
    throw FileCodec::DecodingError({}, std::string(setting.key), std::string(typeName(field)),
                                   describeFound(value));
  }
  customization.*field = *typed;
}

/// All fields on one line.
std::string describe(const Customization& customization) {
  const auto valueOf = [&](auto field) {
    const auto& value = customization.*field;
    return value ? text("Optional(", platform::describe(*value), ')') : "nil";
  };
  const auto shown = [&](const Setting& setting) {
    return text(setting.fieldName, ": ", std::visit(valueOf, setting.field));
  };
  return text("RunningAppPromptCustomization(", platform::joined(kSettings, ", ", shown), ')');
}

}  // namespace

RunningAppPromptCustomization RunningAppPromptCustomization::decode(
    const PropertyList::Dictionary& settings) {
  Customization customization;
  for (const Setting& setting : kSettings) {
    if (const auto entry = settings.find(setting.key); entry != settings.end()) {
      std::visit([&](auto field) { readSetting(entry->second, setting, field, customization); },
                 setting.field);
    }
  }
  return customization;
}

std::vector<std::string_view> RunningAppPromptCustomization::keys() {
  const auto keys = std::views::transform(kSettings, &Setting::key);
  return {keys.begin(), keys.end()};
}

PropertyList::Dictionary RunningAppPromptCustomization::encode() const {
  PropertyList::Dictionary settings;
  for (const Setting& setting : kSettings) {
    std::visit(
        [&](auto field) {
          if (const auto& value = this->*field) {
            settings.emplace(setting.key, *value);
          }
        },
        setting.field);
  }
  return settings;
}

std::int64_t promptTimeoutSeconds(
    const std::optional<RunningAppPromptCustomization>& customization) {
  constexpr std::int64_t kDefaultMinutes = 15;
  constexpr std::int64_t kSecondsPerMinute = 60;
  constexpr std::int64_t kGraceSeconds = 30;
  const std::optional<std::int64_t> minutes =
      customization ? customization->skipTimerCount : std::nullopt;
  return saturatingSum(saturatingProduct(minutes.value_or(kDefaultMinutes), kSecondsPerMinute),
                       kGraceSeconds);
}

const std::string& RunningAppPromptCustomizationProviderConstants::plistPath() {
  static const std::string path = agentDataFile("/ApplicationRunningPromptCustomization.plist");
  return path;
}

RunningAppPromptCustomizationProvider::RunningAppPromptCustomizationProvider(
    PlistDecoding& plistDecoder)
    : customizationData_([&plistDecoder]() -> std::optional<RunningAppPromptCustomization> {
        try {
          auto customization = plistDecoder.decodeFromFile<RunningAppPromptCustomization>(
              RunningAppPromptCustomizationProviderConstants::plistPath());
          logInfo(kRunningAppPromptCustomizationProviderTag,
                  [&] { return describe(customization); });
          return customization;
        } catch (const std::exception& error) {
          logError(kRunningAppPromptCustomizationProviderTag, [&] {
            return text("Failed to decode customization data. Error: ", error.what(), ".");
          });
          return std::nullopt;
        }
      }) {}

}  // namespace vexlo
