// Reads the report of `profiles status -type enrollment`.
#pragma once
#include <cstdint>
#include <string_view>

#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"

namespace vxutils {

/// The enrollment that the tool's report states: `not_enrolled` when the tool failed or its line
/// "MDM enrollment:" says no; a tool so old that it lacks this line tells by "Enrolled via DEP:".
/// Other lines are ignored.
[[nodiscard]] EnrollmentType parseEnrollmentStatus(std::int32_t exitCode, std::string_view output);

}  // namespace vxutils
