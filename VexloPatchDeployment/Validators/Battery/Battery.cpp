#include "VexloPatchDeployment/Validators/Battery/Battery.h"

#include <optional>
#include <utility>
#include <variant>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Overloaded.h"

namespace vexlo {
namespace {

constexpr LogTag kBatteryTag{"hasMinimumBattery(of:)"};

}  // namespace

BatteryLevelChecker::BatteryLevelChecker(PowerSourceResolver& powerSourceResolver)
    : powerSourceResolver_(powerSourceResolver) {}

bool BatteryLevelChecker::hasMinimumBattery(std::int64_t minimumPercent) {
  const std::optional<PowerSource> source = powerSourceResolver_.currentPowerSource();
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

}  // namespace vexlo
