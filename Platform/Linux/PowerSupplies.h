// The kernel's power supplies, from any copy of their folder.
#pragma once
#include <string>
#include <vector>

#include "Platform/PropertyList.h"

namespace platform {

/// What `powerSources()` answers when `root` is its /sys/class/power_supply.
[[nodiscard]] std::vector<PropertyList> readPowerSupplies(const std::string& root);

}  // namespace platform
