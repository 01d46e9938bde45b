#include "SimulatedMac/DocumentText.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "Platform/Text.h"

namespace simulated_mac {
namespace {

platform::PropertyList plistValue(std::string_view value) {
  if (const auto number = platform::wholeNumber<std::int64_t>(value)) {
    return *number;
  }
  if (value == "true" || value == "false") {
    return value == "true";
  }
  if (value.size() >= 2 && value.starts_with('"') && value.ends_with('"')) {
    value = value.substr(1, value.size() - 2);
  }
  return std::string(value);
}

}  // namespace

platform::PropertyList::Dictionary plistDictionary(const std::vector<Setting>& settings) {
  platform::PropertyList::Dictionary dictionary;
  for (const Setting& setting : settings) {
    dictionary.insert_or_assign(setting.key, plistValue(setting.value));
  }
  return dictionary;
}

std::string plistFile(const Section& section) {
  const auto content = std::ranges::find(section.settings, "content", &Setting::key);
  return content == section.settings.end() ? toXML(plistDictionary(section.settings))
                                           : content->value;
}

}  // namespace simulated_mac
