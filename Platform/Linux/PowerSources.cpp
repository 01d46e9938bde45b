#include "Platform/PowerSources.h"

#include <dirent.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Files.h"
#include "Platform/Linux/PowerSupplies.h"
#include "Platform/Text.h"

namespace platform {
namespace {

constexpr const char* kSuppliesFolder = "/sys/class/power_supply";
constexpr std::uint64_t kLargestAttribute = std::uint64_t{64} * 1024;

/// One directory of the kernel's class; each attribute is a file.
struct Supply {
  std::filesystem::path folder;

  [[nodiscard]] std::string text(const char* attribute) const {
    const auto bytes = readFile((folder / attribute).string(), {.maximumBytes = kLargestAttribute});
    return bytes ? bytes->substr(0, bytes->find_last_not_of(" \t\n") + 1) : std::string();
  }
  [[nodiscard]] std::optional<std::int64_t> number(const char* attribute) const {
    return wholeNumber<std::int64_t>(text(attribute));
  }
};

/// Discharging and charging are unambiguous. In any other state (full, held below full, unknown)
/// the external supplies decide, or the battery itself if the kernel lists none (`mainsOnline` is
/// then absent).
bool isOnMains(const Supply& battery, std::optional<bool> mainsOnline) {
  const std::string status = battery.text("status");
  if (status == "Discharging" || status == "Charging") {
    return status == "Charging";
  }
  return mainsOnline.value_or(status == "Full" || status == "Not charging");
}

PropertyList describe(const Supply& battery, std::optional<bool> mainsOnline) {
  PropertyList::Dictionary description;
  description.emplace("Name", battery.folder.filename().string());
  description.emplace("Type", battery.text("type") == "UPS" ? "UPS" : "InternalBattery");
  description.emplace("Power Source State",
                      isOnMains(battery, mainsOnline) ? "AC Power" : "Battery Power");
  constexpr std::int64_t kFullPercentage = 100;
  std::optional<std::int64_t> current = battery.number("capacity");
  std::int64_t maximum = kFullPercentage;
  // The last known pair counts.
  for (const auto& [now, full] :
       {std::pair("charge_now", "charge_full"), std::pair("energy_now", "energy_full")}) {
    const std::optional<std::int64_t> charge = battery.number(now);
    const std::optional<std::int64_t> whole = battery.number(full);
    if (charge && whole && *whole > 0) {
      current = charge;
      maximum = *whole;
    }
  }
  if (current) {
    description.emplace("Current Capacity", *current);
    description.emplace("Max Capacity", maximum);
  }
  return description;
}

}  // namespace

std::vector<PropertyList> readPowerSupplies(const std::string& root) {
  std::vector<std::filesystem::path> folders;
  // The standard library's directory iterator terminates the process when allocation fails.
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(root.c_str()), ::closedir);
  while (const dirent* entry = entries ? ::readdir(entries.get()) : nullptr) {
    if (const std::string_view name = entry->d_name; name != "." && name != "..") {
      folders.push_back(std::filesystem::path(root) / name);
    }
  }
  std::ranges::sort(folders);
  std::optional<bool> mainsOnline;
  std::vector<Supply> batteries;
  for (const std::filesystem::path& folder : folders) {
    const Supply supply{folder};
    const std::string type = supply.text("type");
    if (supply.text("scope") == "Device") {
      continue;  // belongs to a mouse or another device, not to the machine
    }
    if (type != "Battery" && type != "UPS") {  // an external supply: mains, USB, wireless
      mainsOnline = mainsOnline.value_or(false) || supply.number("online").value_or(0) != 0;
    } else if (supply.number("present") != 0) {
      batteries.push_back(supply);
    }
  }
  std::vector<PropertyList> sources;
  sources.reserve(batteries.size());
  for (const Supply& battery : batteries) {
    sources.push_back(describe(battery, mainsOnline));
  }
  return sources;
}

std::vector<PropertyList> powerSources() { return readPowerSupplies(kSuppliesFolder); }

}  // namespace platform
