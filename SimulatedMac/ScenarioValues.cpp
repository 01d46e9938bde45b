#include "SimulatedMac/ScenarioValues.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "Platform/RealNumbers.h"
#include "Platform/Text.h"

namespace simulated_mac {

using platform::trimmed;

std::vector<std::string> words(std::string_view value) {
  std::vector<std::string> found;
  while (!(value = trimmed(value)).empty()) {
    const char closing = value.starts_with('"') ? '"' : ' ';
    value.remove_prefix(closing == '"' ? 1 : 0);
    const std::size_t end = std::min(value.find(closing), value.size());
    found.emplace_back(value.substr(0, end));
    value.remove_prefix(std::min(end + 1, value.size()));
  }
  return found;
}

std::optional<int> milliseconds(std::string_view value) {
  const std::size_t length = std::min(value.find_first_not_of("0123456789."), value.size());
  const auto number = platform::parseReal(value.substr(0, length));
  const std::string_view unit = trimmed(value.substr(length));
  if (!number || *number > 1e6 || (unit != "s" && unit != "ms")) {
    return std::nullopt;
  }
  return static_cast<int>(std::lround(unit == "s" ? *number * 1000 : *number));
}

std::optional<std::string> serviceValue(const Scenario& scenario, std::string_view key) {
  for (const std::string& value : scenario.values("agent service", "value")) {
    if (value.starts_with(key) && (value.size() == key.size() || value[key.size()] == ' ')) {
      return value.size() == key.size() ? "" : value.substr(key.size() + 1);
    }
  }
  return std::nullopt;
}

}  // namespace simulated_mac
