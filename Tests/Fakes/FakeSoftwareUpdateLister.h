// A list of software updates that a test makes up.
#pragma once
#include "VexloPatchDeployment/Validators/DeferCheck/SoftwareUpdateLister.h"

namespace vexlo {

/// Answers with its public field.
class FakeSoftwareUpdateLister final : public SoftwareUpdateLister {
 public:
  SoftwareUpdateList list;
  SoftwareUpdateList fetchSoftwareUpdates() override { return list; }
};

}  // namespace vexlo
