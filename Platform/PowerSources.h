// The machine's power sources.
#pragma once
#include <vector>

#include "Platform/PropertyList.h"

namespace platform {

/// One description per power source, in the system's order; empty when there is none or none can
/// be read. A description is a dictionary with "Power Source State" ("AC Power" or "Battery
/// Power"), "Current Capacity" and "Max Capacity" (integers of one unit), as far as known, and
/// "Name" and "Type" for people. On Linux they come from /sys/class/power_supply: a battery that
/// is charging is on "AC Power", one that is discharging is not; in any other state that depends
/// on whether a supply from outside is online, and where none is listed on whether the battery is
/// full or held below it. Batteries of mice and other devices are not the machine's.
[[nodiscard]] std::vector<PropertyList> powerSources();

}  // namespace platform
