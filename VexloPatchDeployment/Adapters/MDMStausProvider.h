// Tells whether the machine is enrolled in MDM.
#pragma once
#include "AgentLibraries/vxutils/MDMEnrollmentUtil.h"

namespace vexlo {

/// A member of the container for its callers; the deferral check asks the agent's library itself.
class MDMStausProvider {
 public:
  virtual ~MDMStausProvider() = default;
  /// True for every enrollment type but `not_enrolled`.
  [[nodiscard]] virtual bool isMDMEnrolled() = 0;
};

/// Asks the agent library anew on every call.
class AgentMDMStatus final : public MDMStausProvider {
 public:
  /// The process's one instance.
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
