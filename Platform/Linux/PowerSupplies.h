// Reads power supplies from a directory laid out like the kernel's.
#pragma once
#include <string>
#include <vector>

#include "Platform/PropertyList.h"

namespace platform {

/// `powerSources()` with `root` in place of /sys/class/power_supply.
[[nodiscard]] std::vector<PropertyList> readPowerSupplies(const std::string& root);

}  // namespace platform
