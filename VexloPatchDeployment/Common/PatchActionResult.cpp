#include "VexloPatchDeployment/Common/PatchActionResult.h"

#include <ostream>
#include <string_view>

#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/Overloaded.h"
#include "VexloPatchDeployment/Common/TextForms.h"

namespace vexlo {
namespace {

std::string_view nameOf(PlainReason reason) {
  switch (reason) {
    case PlainReason::softwareUpdateUnreachable:
      return "softwareUpdateUnreachable";
    case PlainReason::inSufficientBattery:
      return "inSufficientBattery";
    case PlainReason::inSufficientDiskSpaceForSoftwareUpdate:
      return "inSufficientDiskSpaceForSoftwareUpdate";
    case PlainReason::userNotLoggedIn:
      return "userNotLoggedIn";
    case PlainReason::multipleUsersLoggedIn:
      return "multipleUsersLoggedIn";
    case PlainReason::credentialsNotEntered:
      return "credentialsNotEntered";
    case PlainReason::unableToGetAgentServiceConnection:
      return "unableToGetAgentServiceConnection";
    case PlainReason::macOSSoftwareUpdateDownloadFailed:
      return "macOSSoftwareUpdateDownloadFailed";
    case PlainReason::macOSSoftwareUpdateInstallationFailed:
      return "macOSSoftwareUpdateInstallationFailed";
    case PlainReason::inSufficientArguments:
      return "inSufficientArguments";
    case PlainReason::appIsRunning:
      return "appIsRunning";
    case PlainReason::unDefined:
      return "unDefined";
  }
  std::unreachable();
}

}  // namespace

std::string name(const PatchActionResultDescription& description) {
  return std::visit(
      Overloaded{[](const MacOSUpdateIsDeferred&) { return std::string("macOSUpdateIsDeferred"); },
                 [](const GotUserAcknowledgementForPatchingRunningApplications&) {
                   return std::string("gotUserAcknowledgementForPatchingRunningApplications");
                 },
                 [](PlainReason reason) { return std::string(nameOf(reason)); }},
      description);
}

std::string name(PatchActionResult::Outcome outcome) {
  switch (outcome) {
    case PatchActionResult::Outcome::success:
      return "success";
    case PatchActionResult::Outcome::applyLater:
      return "applyLater";
    case PatchActionResult::Outcome::failure:
      return "failure";
  }
  std::unreachable();
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
