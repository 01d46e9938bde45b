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
class Supply {
 public:
  explicit Supply(std::filesystem::path folder)
      : folder_(std::move(folder)), type_(text("type")), status_(text("status")) {}

  [[nodiscard]] std::string name() const { return folder_.filename().string(); }
  /// A battery or an uninterruptible power supply.
  [[nodiscard]] bool storesEnergy() const {
    return (isUPS() || type_ == "Battery") && number("present") != 0;
  }
  [[nodiscard]] bool isUPS() const { return type_ == "UPS"; }
  /// An external supply: mains, USB, wireless.
  [[nodiscard]] bool isMains() const { return !isUPS() && type_ != "Battery"; }
  [[nodiscard]] bool isOnline() const { return number("online").value_or(0) != 0; }
  /// Belongs to a mouse or another device, not to the machine.
  [[nodiscard]] bool isOfDevice() const { return text("scope") == "Device"; }
  [[nodiscard]] const std::string& status() const { return status_; }

  [[nodiscard]] std::string text(const char* attribute) const {
    auto bytes = readFile((folder_ / attribute).string(), {.maximumBytes = kLargestAttribute});
    if (!bytes) {
      return {};
    }
    bytes->erase(std::min(bytes->find_last_not_of(" \t\n") + 1, bytes->size()));
    return std::move(*bytes);
  }
  [[nodiscard]] std::optional<std::int64_t> number(const char* attribute) const {
    return wholeNumber<std::int64_t>(text(attribute));
  }

 private:
  std::filesystem::path folder_;
  std::string type_;
  std::string status_;
};

/// Discharging and charging are unambiguous. In any other state (full, held below full, unknown)
/// the external supplies decide, or the battery itself if the kernel lists none (`mainsOnline` is
/// then absent).
bool isOnMains(const Supply& battery, std::optional<bool> mainsOnline) {
  const std::string& status = battery.status();
  if (status == "Discharging" || status == "Charging") {
    return status == "Charging";
  }
  return mainsOnline.value_or(status == "Full" || status == "Not charging");
}

struct Capacity {
  std::int64_t current;
  std::int64_t maximum;
};

std::optional<Capacity> capacityOf(const Supply& battery) {
  constexpr std::int64_t kFullPercentage = 100;
  for (const auto& [now, full] :
       {std::pair("energy_now", "energy_full"), std::pair("charge_now", "charge_full")}) {
    const std::optional<std::int64_t> current = battery.number(now);
    const std::optional<std::int64_t> maximum = battery.number(full);
    if (current && maximum && *maximum > 0) {
      return Capacity{.current = *current, .maximum = *maximum};
    }
  }
  if (const std::optional<std::int64_t> percentage = battery.number("capacity")) {
    return Capacity{.current = *percentage, .maximum = kFullPercentage};
  }
  return std::nullopt;
}

PropertyList describe(const Supply& battery, std::optional<bool> mainsOnline) {
  PropertyList::Dictionary description;
  description.emplace("Name", battery.name());
  description.emplace("Type", battery.isUPS() ? "UPS" : "InternalBattery");
  description.emplace("Power Source State",
                      isOnMains(battery, mainsOnline) ? "AC Power" : "Battery Power");
  if (const std::optional<Capacity> capacity = capacityOf(battery)) {
    description.emplace("Current Capacity", capacity->current);
    description.emplace("Max Capacity", capacity->maximum);
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
    Supply supply(folder);
    if (supply.isOfDevice()) {
      continue;
    }
    if (supply.storesEnergy()) {
      batteries.push_back(std::move(supply));
    } else if (supply.isMains()) {
      mainsOnline = mainsOnline.value_or(false) || supply.isOnline();
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
