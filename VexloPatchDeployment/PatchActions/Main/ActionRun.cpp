#include "VexloPatchDeployment/PatchActions/Main/ActionRun.h"

#include <utility>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "VexloPatchDeployment/Common/Log.h"
#include "VexloPatchDeployment/Common/RunningAction.h"

namespace vexlo {
namespace {

struct RuleTexts {
  std::string_view name;  ///< The enumerator.
  std::string_view words;
};

RuleTexts textsOf(DecidingRule rule) {
  switch (rule) {
    case DecidingRule::notInPlan:
      return {.name = "notInPlan", .words = "doesn't apply to the patch"};
    case DecidingRule::undefinedAction:
      return {.name = "undefinedAction", .words = "unknown action, does nothing"};
    case DecidingRule::notImplemented:
      return {.name = "notImplemented", .words = "does nothing"};
    case DecidingRule::otherProcessor:
      return {.name = "otherProcessor", .words = "for another processor"};
    case DecidingRule::patchedThroughMDM:
      return {.name = "patchedThroughMDM", .words = "not checked, patching through MDM is on"};
    case DecidingRule::notEnrolled:
      return {.name = "notEnrolled", .words = "not checked, no MDM enrollment"};
    case DecidingRule::deferralCheckDisabled:
      return {.name = "deferralCheckDisabled", .words = "not checked, disabled in the settings"};
    case DecidingRule::killWithoutAsking:
      return {.name = "killWithoutAsking", .words = "closed without asking"};
    case DecidingRule::promptDisabled:
      return {.name = "promptDisabled", .words = "prompts are off"};
    case DecidingRule::applicationsUnnamed:
      return {.name = "applicationsUnnamed", .words = "can't be named, counts as not running"};
  }
  std::unreachable();
}

}  // namespace

void decidedBy(DecidingRule rule) {
  measured([&] { return RuleMeasurement{rule}; });
}

PatchActionResult inSufficientArguments(std::string_view expected,
                                        std::optional<std::string> found) {
  measured([&] { return UnusableArguments{expected, std::move(found)}; });
  return PatchActionResult::applyLater(PlainReason::inSufficientArguments);
}

std::string UnusableArguments::words() const {
  return found ? text(expected, ": \"", *found, "\" is not an integer")
               : text("no ", expected, " given");
}

std::string UnusableArguments::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addString("expected", expected)
      .addJSON("found", FileCodec::jsonOptional(found))
      .done();
}

std::string RuleMeasurement::words() const { return std::string(textsOf(rule).words); }

std::string RuleMeasurement::json() const {
  return FileCodec::JSONObject()
      .addString("kind", kind)
      .addString("rule", textsOf(rule).name)
      .done();
}

}  // namespace vexlo
