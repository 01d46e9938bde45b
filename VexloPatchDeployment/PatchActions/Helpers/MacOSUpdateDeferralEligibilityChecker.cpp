#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"

namespace vexlo {
namespace {

constexpr LogTag kMacOSUpdateDeferralEligibilityCheckerTag{"isDisabled()"};

}  // namespace

bool MacOSUpdateDeferralEligibilityChecker::isDisabled() {
  const bool disabled =
      plistManager_.fetch<bool>(PatchDataKeys::disableDeferralCheck).value_or(false);
  logInfo(kMacOSUpdateDeferralEligibilityCheckerTag,
          [&] { return text("macOS update deferral check disabled: ", disabled ? "Yes" : "No"); });
  return disabled;
}

}  // namespace vexlo
