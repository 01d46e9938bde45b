// Writes what actions measured as JSON.
#pragma once
#include <span>
#include <string>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace agent_tool {

/// An array of objects, in the order given: `[{"kind":"battery","source":"battery",…}]`. `kind`
/// tells which other members there are; all of them are always there, null when absent.
[[nodiscard]] std::string measurementsAsJSON(std::span<const vexlo::Measurement> measurements);

}  // namespace agent_tool
