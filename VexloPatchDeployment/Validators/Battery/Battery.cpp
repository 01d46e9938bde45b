#include "VexloPatchDeployment/Validators/Battery/Battery.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Overloaded.h"
#include "VexloPatchDeployment/Common/RunningAction.h"
#include "VexloPatchDeployment/Validators/Battery/BatteryMeasurement.h"

namespace vexlo {
namespace {

constexpr LogTag kBatteryTag{"hasMinimumBattery(of:)"};

BatteryMeasurement batteryMeasurement(const std::optional<PowerSource>& source,
                                      std::int64_t neededPercentage) {
  using Source = BatteryMeasurement::Source;
  if (!source) {
    return {.source = Source::unknown, .percentage = 0, .neededPercentage = neededPercentage};
  }
  const auto* const battery = std::get_if<BatteryPower>(&*source);
  return {.source = battery != nullptr ? Source::battery : Source::mains,
          .percentage = battery != nullptr ? battery->percentage : 0,
          .neededPercentage = neededPercentage};
}

std::string_view nameOf(BatteryMeasurement::Source source) {
  constexpr std::array<std::string_view, 3> kNames{"battery", "mains", "unknown"};
  return kNames.at(std::to_underlying(source));
}

}  // namespace

bool BatteryLevelChecker::hasMinimumBattery(std::int64_t minimumPercent) {
  const std::optional<PowerSource> source = powerSourceResolver_.currentPowerSource();
  measured([&] { return batteryMeasurement(source, minimumPercent); });
  if (!source) {
    logError(kBatteryTag, [] {
      return "Unable to obtain system power source, Considering it as sufficient battery.";
    });
    return true;
  }
  return std::visit(
      Overloaded{[](const AcPower&) {
                   logInfo(kBatteryTag, [] {
                     return "System is AC powered, so considering it as sufficient battery.";
                   });
                   return true;
                 },
                 [&](const BatteryPower& battery) {
                   const bool sufficient = battery.percentage >= minimumPercent;
                   logInfo(kBatteryTag, [&] {
                     return text("System battery percentage: ", battery.percentage,
                                 ", minimum battery percentage: ", minimumPercent,
                                 ", is sufficient: ", sufficient, ".");
                   });
                   return sufficient;
                 }},
      *source);
}

std::string BatteryMeasurement::words() const {
  switch (source) {
    case Source::battery:
      return text("battery ", percentage, " %, ", neededPercentage, " % needed");
    case Source::mains:
      return "on mains power";
    case Source::unknown:
      return "power source unknown, counts as sufficient";
  }
  std::unreachable();
}

std::string BatteryMeasurement::json() const {
  const bool hasLevel = source == Source::battery;
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addString("source", nameOf(source))
      .addNumber("percentage", hasLevel ? std::optional(percentage) : std::nullopt)
      .addNumber("neededPercentage", neededPercentage)
      .done();
}

}  // namespace vexlo
