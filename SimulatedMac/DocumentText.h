// Property lists of a scenario's settings.
#pragma once
#include <string>
#include <vector>

#include "Platform/PropertyList.h"
#include "SimulatedMac/Scenario.h"

namespace simulated_mac {

/// Values become integers or Booleans where they look like one, else strings; double quotes around
/// a value make it a string.
[[nodiscard]] platform::PropertyList::Dictionary plistDictionary(
    const std::vector<Setting>& settings);
/// A settings file: the text under the key "content", or else the settings as a dictionary.
[[nodiscard]] std::string plistFile(const Section& section);

}  // namespace simulated_mac
