// Internal formatting of measurements; `ActionObserver.h` declares the public functions.
#pragma once
#include <span>
#include <string>
#include <string_view>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace vexlo {

/// The enumerator's name.
[[nodiscard]] std::string_view describe(RunningAppPromptDecision decision);

/// An array of objects: `[{"kind":"battery","source":"battery",…}]`. `kind` determines the other
/// members, which are always present and may be null.
[[nodiscard]] std::string measurementsAsJSON(std::span<const Measurement> measurements);

}  // namespace vexlo
