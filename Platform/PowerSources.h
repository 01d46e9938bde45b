// The machine's power sources.
#pragma once
#include <vector>

#include "Platform/PropertyList.h"

namespace platform {

/// One description per power source, in the system's order; empty when there is none or none can be
/// read. A description is a dictionary with "Power Source State" ("AC Power" or "Battery Power"),
/// "Current Capacity" and "Max Capacity" (integers in the same unit) as far as known, and "Name"
/// and "Type" for display. On Linux they come from /sys/class/power_supply: a charging battery is
/// on "AC Power", a discharging one is not; in any other state it depends on whether an external
/// supply is online or, if none is listed, whether the battery is full or held below full.
/// Batteries of mice and other devices don't count.
[[nodiscard]] std::vector<PropertyList> powerSources();

}  // namespace platform
