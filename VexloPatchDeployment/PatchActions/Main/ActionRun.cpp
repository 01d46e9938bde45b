#include "VexloPatchDeployment/PatchActions/Main/ActionRun.h"

#include <array>
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

/// In the enumeration's order.
constexpr std::array kRules{
    RuleTexts{.name = "notInPlan", .words = "doesn't apply to the patch"},
    RuleTexts{.name = "undefinedAction", .words = "unknown action, does nothing"},
    RuleTexts{.name = "notImplemented", .words = "does nothing"},
    RuleTexts{.name = "otherProcessor", .words = "for another processor"},
    RuleTexts{.name = "patchedThroughMDM", .words = "not checked, patching through MDM is on"},
    RuleTexts{.name = "notEnrolled", .words = "not checked, no MDM enrollment"},
    RuleTexts{.name = "deferralCheckDisabled", .words = "not checked, disabled in the settings"},
    RuleTexts{.name = "killWithoutAsking", .words = "closed without asking"},
    RuleTexts{.name = "promptDisabled", .words = "prompts are off"},
    RuleTexts{.name = "applicationsUnnamed", .words = "can't be named, counts as not running"},
};

const RuleTexts& textsOf(DecidingRule rule) { return kRules.at(std::to_underlying(rule)); }

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
      .addString("found", found)
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
