// What kind of machine this is.
#pragma once
#include <cstdint>

#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "VexloPatchDeployment/Adapters/SystemEnvironment.h"

namespace vexlo {

/// Decides which actions mean this machine, and which installer and command lines they need.
class MachineFacts : public SystemEnvironment {
 public:
  [[nodiscard]] virtual bool isAppleSilicon() = 0;
  /// How the machine is enrolled in MDM; `not_enrolled` where that can't be learnt.
  [[nodiscard]] virtual vxutils::EnrollmentType mdmEnrollment() = 0;
};

/// Asks the agent's global settings and the agent's library anew on every call; the macOS version
/// is read once per process. Stateless.
class SystemMachineFacts final : public MachineFacts {
 public:
  [[nodiscard]] std::int64_t macOSMajorVersion() const override;
  [[nodiscard]] bool isAppleSilicon() override;
  [[nodiscard]] vxutils::EnrollmentType mdmEnrollment() override;
};

}  // namespace vexlo
