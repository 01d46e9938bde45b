// Facts about the machine as a whole.
#pragma once
#include <cstdint>
#include <functional>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"

namespace vexlo {

/// Determines which actions apply to the machine and which installers and command lines they use.
/// The defaults read this machine; an evaluation of a recorded machine sets its own functions.
struct MachineFacts {
  /// 12 for macOS 12. Read once per process.
  std::function<std::int64_t()> macOSMajorVersion = PatchDeploymentConstants::macOSMajorVersion;
  std::function<bool()> isAppleSilicon = [] {
    return vxutils::gv_globvars.isAppleSiliconMachine();
  };
  /// How the machine is enrolled in MDM; `not_enrolled` if unknown. Runs a tool on every call.
  std::function<vxutils::EnrollmentType()> mdmEnrollment = [] {
    return vxutils::MDMEnrollmentUtil::shared().getEnrollmentType();
  };
};

}  // namespace vexlo
