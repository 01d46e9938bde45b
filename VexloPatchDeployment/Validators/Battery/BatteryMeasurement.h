// What the battery check measures.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Export.h"

namespace vexlo {

/// The power source, compared with a required battery level.
struct VEXLO_EXPORT BatteryMeasurement {
  static constexpr std::string_view kind = "battery";
  enum class Source : std::uint8_t {
    battery,
    mains,    ///< Counts as sufficient.
    unknown,  ///< Can't be read, or none is readable; counts as sufficient.
  };
  Source source = Source::unknown;
  std::int64_t percentage = 0;  ///< On battery only; normally 0 to 100.
  std::int64_t neededPercentage = 0;
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const BatteryMeasurement&, const BatteryMeasurement&) = default;
};

}  // namespace vexlo
