// The machine's power sources.
#pragma once
#include <vector>

#include "Platform/PropertyList.h"

namespace platform {

/// One description per power source, in the system's order; empty when there is none or none can
/// be read. A description is a dictionary with "Power Source State" ("AC Power" or "Battery
/// Power"), "Current Capacity" and "Max Capacity" (integers of one unit), as far as known, and
/// "Name" and "Type" for people. On Linux they come from /sys/class/power_supply: a battery that
/// is neither discharging nor alone without a mains supply online counts as on "AC Power".
[[nodiscard]] std::vector<PropertyList> powerSources();

}  // namespace platform
