// Reads the report of `profiles status -type enrollment`.
#pragma once
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "Platform/Process.h"

namespace vxutils {

/// The enrollment that the tool's run tells of: `not_enrolled` when the tool is not there or
/// failed, which is logged, or when its line "MDM enrollment:" says no; a tool so old that it lacks
/// this line tells by "Enrolled via DEP:". Other lines are ignored. A run whose exit status is not
/// known is judged by its output.
[[nodiscard]] EnrollmentType enrollmentToldBy(const platform::ProcessResult& run);

}  // namespace vxutils
