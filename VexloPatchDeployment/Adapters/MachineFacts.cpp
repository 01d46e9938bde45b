#include "VexloPatchDeployment/Adapters/MachineFacts.h"

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"

namespace vexlo {

std::int64_t SystemMachineFacts::macOSMajorVersion() const {
  return PatchDeploymentConstants::macOSMajorVersion();
}

bool SystemMachineFacts::isAppleSilicon() { return vxutils::gv_globvars.isAppleSiliconMachine(); }

vxutils::EnrollmentType SystemMachineFacts::mdmEnrollment() {
  return vxutils::MDMEnrollmentUtil::shared().getEnrollmentType();
}

}  // namespace vexlo
