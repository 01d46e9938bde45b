// Parses the report of `profiles status -type enrollment`.
#pragma once
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "Platform/Process.h"

namespace vxutils {

/// The enrollment according to the tool. `not_enrolled` if the tool is missing or failed, which is
/// logged, or if its line "MDM enrollment:" says no; old versions that lack this line are judged by
/// "Enrolled via DEP:". Other lines are ignored. If the exit status is unknown, only the output
/// counts.
[[nodiscard]] EnrollmentType enrollmentFrom(const platform::ProcessResult& run);

}  // namespace vxutils
