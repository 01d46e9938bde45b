// Facts about the machine as a whole.
#pragma once
#include <cstdint>
#include <optional>

#include "AgentLibraries/vxutils/GlobalVars.h"
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"
#include "VexloPatchDeployment/Adapters/SystemEnvironment.h"
#include "VexloPatchDeployment/Common/PatchDeploymentConstants.h"

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
  [[nodiscard]] std::int64_t macOSMajorVersion() const override {
    return PatchDeploymentConstants::macOSMajorVersion();
  }
  [[nodiscard]] bool isAppleSilicon() override {
    return vxutils::gv_globvars.isAppleSiliconMachine();
  }
  [[nodiscard]] vxutils::EnrollmentType mdmEnrollment() override {
    return vxutils::MDMEnrollmentUtil::shared().getEnrollmentType();
  }
};

/// The facts of a machine at one moment. Unavailable ones are absent.
struct MachineReadings {
  bool isAppleSilicon = false;
  std::int64_t macOSMajorVersion = 0;  ///< What the library assumes if it can't be read.
  std::optional<vxutils::EnrollmentType> mdmEnrollment;

  bool operator==(const MachineReadings&) const = default;
};

/// Returns recorded readings.
class RecordedMachineFacts final : public MachineFacts {
 public:
  /// `readings` must be valid until the next call. Call it before any other function.
  void use(const MachineReadings& readings) noexcept { readings_ = &readings; }

  [[nodiscard]] std::int64_t macOSMajorVersion() const override {
    return readings_->macOSMajorVersion;
  }
  [[nodiscard]] bool isAppleSilicon() override { return readings_->isAppleSilicon; }
  [[nodiscard]] vxutils::EnrollmentType mdmEnrollment() override {
    return readings_->mdmEnrollment.value_or(vxutils::EnrollmentType::not_enrolled);
  }

 private:
  const MachineReadings* readings_ = nullptr;
};

}  // namespace vexlo
