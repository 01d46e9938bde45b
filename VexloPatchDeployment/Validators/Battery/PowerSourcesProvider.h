// Lists the machine's power sources.
#pragma once
#include <vector>

#include "Platform/PropertyList.h"

namespace vexlo {

/// Tests replace it.
class PowerSourcesProvider {
 public:
  virtual ~PowerSourcesProvider() = default;
  /// The descriptions of the power sources, normally dictionaries; may be empty.
  [[nodiscard]] virtual std::vector<platform::PropertyList> powerSourcesInfo() = 0;
};

/// Asks the platform on every call.
class SystemPowerSources final : public PowerSourcesProvider {
 public:
  [[nodiscard]] std::vector<platform::PropertyList> powerSourcesInfo() override;
};

}  // namespace vexlo
