// What the disk space check measures.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.h"

namespace vexlo {

/// The free space of the startup volume, compared with a required minimum.
struct VEXLO_EXPORT DiskSpaceMeasurement {
  static constexpr std::string_view kind = "diskSpace";
  std::optional<std::int64_t> freeBytes;  ///< Absent when it can't be read; counts as sufficient.
  std::int64_t neededBytes = 0;
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const DiskSpaceMeasurement&, const DiskSpaceMeasurement&) = default;
};

}  // namespace vexlo
