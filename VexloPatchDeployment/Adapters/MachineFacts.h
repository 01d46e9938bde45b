// Facts about the machine.
#pragma once
#include <cstdint>

#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "VexloPatchDeployment/Adapters/SystemEnvironment.h"

namespace vexlo {

/// Determines which actions apply to the machine and which installers and command lines they use.
/// Tests and recorded facts replace it.
class MachineFacts : public SystemEnvironment {
 public:
  [[nodiscard]] virtual bool isAppleSilicon() = 0;
  /// How the machine is enrolled in MDM; `not_enrolled` if unknown.
  [[nodiscard]] virtual vxutils::EnrollmentType mdmEnrollment() = 0;
};

/// Asks the agent's global settings and library on every call; reads the macOS version once per
/// process. Stateless.
class SystemMachineFacts final : public MachineFacts {
 public:
  [[nodiscard]] std::int64_t macOSMajorVersion() const override;
  [[nodiscard]] bool isAppleSilicon() override;
  [[nodiscard]] vxutils::EnrollmentType mdmEnrollment() override;
};

}  // namespace vexlo
