#include "VexloPatchDeployment/PatchActions/Helpers/MDMPatchingStatusChecker.h"

#include <optional>
#include <string>
#include <utility>

#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/PatchDataKeys.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

constexpr LogTag kMDMPatchingStatusCheckerTag{"isEnabled()"};

/// A number is an integer or a real, not a Boolean.
bool isNumberOne(const std::optional<platform::PropertyList>& value) {
  if (!value) {
    return false;
  }
  if (const auto* integer = value->as<std::int64_t>()) {
    return *integer == 1;
  }
  const auto* real = value->as<double>();
  return real != nullptr && *real == 1.0;
}

std::optional<std::string> asText(const std::optional<platform::PropertyList>& value) {
  const auto* const found = value ? value->as<std::string>() : nullptr;
  return found != nullptr ? std::optional(*found) : std::nullopt;
}

}  // namespace

MDMPatchingStatusChecker::MDMPatchingStatusChecker(PlistManager& plistManager)
    : plistManager_(plistManager) {}

bool MDMPatchingStatusChecker::isEnabled() {
  if (!isNumberOne(plistManager_.fetchValue(PatchDataKeys::osPatchingViaMDMStatus))) {
    logInfo(kMDMPatchingStatusCheckerTag, [] {
      return "Unable to get OSPatchingViaMDMStatus, considering MDM patching as disabled";
    });
    return false;
  }
  const std::optional<std::string> value =
      asText(plistManager_.fetchValue(PatchDataKeys::isMDMPatchingEnabled));
  const bool enabled = equalIgnoringCase(value.value_or("true"), "true");
  logInfo(kMDMPatchingStatusCheckerTag, [&] {
    return text("MDM patching is ", enabled ? "enabled" : "disabled", " - ", optionalText(value),
                ".");
  });
  return enabled;
}

}  // namespace vexlo
