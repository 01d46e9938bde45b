#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"

#include <cstdint>
#include <optional>
#include <string>

#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kMDMPatchingStatusCheckerTag{"isEnabled()"};

}  // namespace

bool MDMPatchingStatusChecker::isEnabled() {
  using platform::PropertyList;
  const std::optional<PropertyList> status =
      plistManager_.fetchValue(PatchDataKeys::osPatchingViaMDMStatus);
  const bool isOne =  // an integer or a real, not a Boolean
      status == PropertyList(std::int64_t{1}) || status == PropertyList(PropertyList::Value(1.0));
  if (!isOne) {
    logInfo(kMDMPatchingStatusCheckerTag, [] {
      return "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled";
    });
    return false;
  }
  const std::optional<std::string> value =
      plistManager_.fetch<std::string>(PatchDataKeys::isMDMPatchingEnabled);
  const bool enabled = equalIgnoringCase(value.value_or("true"), "true");
  logInfo(kMDMPatchingStatusCheckerTag, [&] {
    return text("MDM patching is ", enabled ? "enabled" : "disabled", " - ", optionalText(value),
                ".");
  });
  return enabled;
}

}  // namespace vexlo
