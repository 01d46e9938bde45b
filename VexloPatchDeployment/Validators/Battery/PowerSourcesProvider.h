// Fetches the raw list of power sources from the platform.
#pragma once
#include <vector>

#include "Platform/PropertyList.h"

namespace vexlo {

class PowerSourcesProvider {
 public:
  virtual ~PowerSourcesProvider() = default;
  /// The descriptions of the power sources, each expected to be a dictionary; may be empty.
  [[nodiscard]] virtual std::vector<platform::PropertyList> powerSourcesInfo() = 0;
};

/// Asks the platform anew on every call.
class SystemPowerSources final : public PowerSourcesProvider {
 public:
  [[nodiscard]] std::vector<platform::PropertyList> powerSourcesInfo() override;
};

}  // namespace vexlo
