#include "VexloPatchDeployment/Common/PatchActionResult.h"

#include <array>
#include <ostream>
#include <utility>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Overloaded.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
std::string name(const PatchActionResultDescription& description) {
  return std::visit(
      Overloaded{[](const MacOSUpdateIsDeferred&) { return std::string("macOSUpdateIsDeferred"); },
                 [](const GotUserAcknowledgementForPatchingRunningApplications&) {
                   return std::string("gotUserAcknowledgementForPatchingRunningApplications");
                 },
                 [](PlainReason reason) { return std::string(name(reason)); }},
      description);
}

std::string name(PatchActionResult::Outcome outcome) {
  constexpr std::array<const char*, 3> kNames{"success", "applyLater", "failure"};
  return kNames.at(std::to_underlying(outcome));
}

std::string describe(const PatchActionResultDescription& description) {
  const std::string payload = std::visit(
      Overloaded{[](const MacOSUpdateIsDeferred& deferred) {
                   return text('(', optionalText(deferred.until), ')');
                 },
                 [](const GotUserAcknowledgementForPatchingRunningApplications& acknowledged) {
                   return text('(', mapText(acknowledged.applications), ')');
                 },
                 [](PlainReason) { return std::string(); }},
      description);
  return name(description) + payload;
}

std::string describe(const PatchActionResult& result) {
  return result.description ? text(name(result.outcome), '(', describe(*result.description), ')')
                            : name(result.outcome);
}

std::ostream& operator<<(std::ostream& out, const PatchActionResult& result) {
  return out << describe(result);
}

}  // namespace vexlo
