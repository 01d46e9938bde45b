#include "VexloPatchDeployment/PatchActions/Helpers/MacOSUpdateDeferralEligibilityChecker.h"

#include <optional>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"

namespace vexlo {
namespace {

constexpr LogTag kMacOSUpdateDeferralEligibilityCheckerTag{"isDisabled()"};

}  // namespace

MacOSUpdateDeferralEligibilityChecker::MacOSUpdateDeferralEligibilityChecker(
    PlistManager& plistManager)
    : plistManager_(plistManager) {}

bool MacOSUpdateDeferralEligibilityChecker::isDisabled() {
  const std::optional<platform::PropertyList> value =
      plistManager_.fetchValue(PatchDataKeys::disableDeferralCheck);
  const bool* const flag = value ? value->as<bool>() : nullptr;
  const bool disabled = flag != nullptr && *flag;
  logInfo(kMacOSUpdateDeferralEligibilityCheckerTag,
          [&] { return text("macOS update deferral check disabled: ", disabled ? "Yes" : "No"); });
  return disabled;
}

}  // namespace vexlo
