// Tells whether the machine is enrolled in MDM.
#pragma once
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"

namespace vexlo {

/// For users of the container; the library's deferral check asks the agent's library directly.
class MDMStausProvider {
 public:
  virtual ~MDMStausProvider() = default;
  /// True for every enrollment type but `not_enrolled`.
  [[nodiscard]] virtual bool isMDMEnrolled() = 0;
};

/// Asks the agent library on every call.
class AgentMDMStatus final : public MDMStausProvider {
 public:
  /// The process-wide instance.
  static AgentMDMStatus& shared() {
    static AgentMDMStatus instance;
    return instance;
  }
  [[nodiscard]] bool isMDMEnrolled() override {
    return vxutils::MDMEnrollmentUtil::shared().getEnrollmentType() !=
           vxutils::EnrollmentType::not_enrolled;
  }
};

}  // namespace vexlo
