#include "VexloPatchDeployment/Validators/Battery/PowerSourceResolver.h"

#include <string>
#include <vector>

#include "VexloPatchDeployment/Common/Log.h"

namespace vexlo {
namespace {

using platform::PropertyList;

constexpr LogTag kPowerSourceResolverTag{"currentPowerSource()"};
constexpr std::string_view kUnobtainable = "Unable to obtain system power source details.";

/// `current` as a truncated percentage of `maximum`; absent if it can't be computed.
std::optional<std::int64_t> percentageOf(std::int64_t current, std::int64_t maximum) {
  std::int64_t hundredfold = 0;
  if (maximum == 0 || __builtin_mul_overflow(current, std::int64_t{100}, &hundredfold)) {
    return std::nullopt;
  }
  return maximum == -1 ? -hundredfold : hundredfold / maximum;
}

/// The level in a description that has both capacities as integers.
std::optional<BatteryPower> batteryOf(const PropertyList& description) {
  const PropertyList* const current = description.find("Current Capacity");
  const PropertyList* const maximum = description.find("Max Capacity");
  const auto* const currentCapacity = current != nullptr ? current->as<std::int64_t>() : nullptr;
  const auto* const maxCapacity = maximum != nullptr ? maximum->as<std::int64_t>() : nullptr;
  if (currentCapacity == nullptr || maxCapacity == nullptr) {
    return std::nullopt;
  }
  const std::optional<std::int64_t> percentage = percentageOf(*currentCapacity, *maxCapacity);
  if (!percentage) {
    return std::nullopt;
  }
  logInfo(kPowerSourceResolverTag, [&] {
    return text("Power source: Battery, current capacity: ", *currentCapacity,
                ", max capacity: ", *maxCapacity, ", battery percentage: ", *percentage, "%.");
  });
  return BatteryPower{.percentage = *percentage};
}

}  // namespace

std::optional<PowerSource> SystemPowerSource::currentPowerSource() {
  for (const PropertyList& description : powerSourcesProvider_.powerSourcesInfo()) {
    if (description.as<PropertyList::Dictionary>() == nullptr) {
      logDebug(kPowerSourceResolverTag, [] { return kUnobtainable; });
      continue;
    }
    const PropertyList* const state = description.find("Power Source State");
    const auto* const stateText = state != nullptr ? state->as<std::string>() : nullptr;
    if (stateText != nullptr && *stateText == "AC Power") {
      logInfo(kPowerSourceResolverTag, [] { return "Power source: AC."; });
      return AcPower{};
    }
    if (const std::optional<BatteryPower> battery = batteryOf(description)) {
      return *battery;
    }
  }
  logError(kPowerSourceResolverTag, [] { return kUnobtainable; });
  return std::nullopt;
}

}  // namespace vexlo
