// Measurements as JSON.
#pragma once
#include <span>
#include <string>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace agent_tool {

/// An array of objects: `[{"kind":"battery","source":"battery",…}]`. `kind` determines the other
/// members, which are always present and may be null.
[[nodiscard]] std::string measurementsAsJSON(std::span<const vexlo::Measurement> measurements);

}  // namespace agent_tool
