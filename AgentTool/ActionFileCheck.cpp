#include "AgentTool/ActionFileCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <unordered_set>
#include <utility>
#include <variant>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/DocumentMembers.h"
#include "AgentTool/PrintableText.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/KnownActions.h"
#include "VexloPatchDeployment/Common/LetterCase.h"
#include "VexloPatchDeployment/Common/Numbers.h"

namespace agent_tool {
namespace {

using LogCore::text;
using vexlo::ActionEntry;
using vexlo::ActionID;
using vexlo::KnownAction;
using vexlo::TextList;

using Place = std::vector<std::string>;

constexpr std::string_view kAppliesLater =
    "the action answers applyLater(inSufficientArguments) wherever it applies";
constexpr std::int64_t kMostPercent = 100;
constexpr std::int64_t kManyGigabytes = 10'000;
constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

/// What an action reads.
struct ArgumentRule {
  std::size_t needed;
  std::size_t read;
  std::string_view what;
};

ArgumentRule ruleOf(KnownAction action) {
  switch (action) {
    case KnownAction::siliconBatteryPercentageCheck:
    case KnownAction::intelBatteryPercentageCheck:
      return {1, 1, "the minimum battery level in percent"};
    case KnownAction::userLoggedInCheck:
    case KnownAction::multipleUserLoggedInCheck:
    case KnownAction::applicationRunningNotifier:
      return {0, 0, ""};
    case KnownAction::minimumDiskSpaceCheck:
      return {1, 1, "the minimum free disk space in gigabytes"};
    case KnownAction::macOSDeferCheck:
      return {1, 1, "the macOS version"};
    case KnownAction::installMacOSUpdates:
      return {2, 2, "the macOS version and the softwareupdate label"};
    case KnownAction::applicationRunningCheck:
      return {1, kAll, "bundle identifiers"};
    case KnownAction::installMacOSUpdatesUsingInstallAssistant:
      return {1, 1, "the path of the InstallAssistant application"};
  }
  std::unreachable();
}

/// Such as «14.5»: numbers joined by dots.
bool isVersion(std::string_view text) {
  constexpr auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  bool afterDigit = false;
  for (const char c : text) {
    if (!isDigit(c) && !(c == '.' && afterDigit)) {
      return false;
    }
    afterDigit = isDigit(c);
  }
  return afterDigit;
}

/// Letters, digits, hyphens, underscores and dots, as bundle identifiers are made of.
bool isBundleIdentifier(std::string_view text) {
  return std::ranges::all_of(text, [](char c) {
    const char lower = vexlo::asciiLowerCase(c);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.';
  });
}

bool hasBlanksAround(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  return !text.empty() && (kBlanks.contains(text.front()) || kBlanks.contains(text.back()));
}

/// The code that was probably meant: one that is written with spaces, a sign or zeros around it,
/// or an action's name.
std::optional<std::string> meantCode(std::string_view code) {
  const std::size_t first = code.find_first_not_of(" \t\r\n+0");
  const std::size_t last = code.find_last_not_of(" \t\r\n");
  const std::string_view bare =
      first < code.size() ? code.substr(first, last + 1 - first) : std::string_view();
  if (ActionID(bare).value().index() == 0) {
    return std::string(bare);
  }
  for (const vexlo::KnownActionRow& known : vexlo::kKnownActions) {
    if (vexlo::equalIgnoringCase(known.name, code)) {
      return std::string(known.code);
    }
  }
  return std::nullopt;
}

class FileCheck {
 public:
  explicit FileCheck(std::vector<Oddity>& oddities) : oddities_(oddities) {}

  void look(const vexlo::PatchActionGroup& group) {
    const auto patchActions = group.patchActions();
    if (const auto productActions = group.productServicePackActions()) {
      lookAtExemptions(*productActions, patchActions);
      for (const vexlo::NamedProduct& product : productActions->products()) {
        const Place place{"ProductServicePackActions", std::string(product.name)};
        lookAtProductName(place);
        for (const vexlo::NamedActions& servicePack : product.servicePacks) {
          lookAtNamedActions(place, servicePack);
        }
      }
    }
    if (patchActions) {
      for (const vexlo::NamedActions& patch : patchActions->patches()) {
        lookAtNamedActions({"PatchActions"}, patch);
      }
    }
    if (!group.productServicePackActions() && !patchActions) {
      report(OddityKind::ignoredMember, {},
             "has neither ProductServicePackActions nor PatchActions: no action applies to any "
             "patch");
    }
  }

 private:
  void report(OddityKind kind, const Place& place, std::string what) {
    oddities_.push_back({kind, placeOf(place), std::move(what)});
  }

  void lookAtExemptions(const vexlo::ProductServicePackActions& productActions,
                        const std::optional<vexlo::PatchActions>& patchActions) {
    const TextList patchIDs = productActions.exclusionPatchIDs();
    std::unordered_set<std::string_view> seen;
    for (std::size_t index = 0; index < patchIDs.size(); ++index) {
      const std::string_view patchID = patchIDs[static_cast<std::ptrdiff_t>(index)];
      const Place place{"ProductServicePackActions", "ExclusionPatchIDs", element(index)};
      if (!seen.insert(patchID).second) {
        report(OddityKind::repeatedArgument, place,
               text("patch ", inQuotes(patchID), " stands in the list already"));
        continue;
      }
      lookAtName(place, patchID);
      const auto own = patchActions ? patchActions->actions(patchID) : std::nullopt;
      if (!own || own->empty()) {
        report(OddityKind::exemptWithoutActions, place,
               text("patch ", inQuotes(patchID),
                    " is exempt from the product's actions and has none of its own: nothing is "
                    "run for it"));
      }
    }
  }

  void lookAtProductName(const Place& place) {
    lookAtName(place, place.back());
    if (vexlo::equalIgnoringCase(place.back(), "ExclusionPatchIDs")) {
      report(OddityKind::suspiciousName, place,
             "is taken as a product; did you mean \"ExclusionPatchIDs\"?");
    }
  }

  void lookAtName(const Place& place, std::string_view id) {
    if (id.empty()) {
      report(OddityKind::suspiciousName, place, "the ID is empty");
    } else if (hasBlanksAround(id)) {
      report(OddityKind::suspiciousName, place,
             text("the ID ", inQuotes(id), " has spaces around it, which are significant"));
    }
  }

  void lookAtNamedActions(Place place, const vexlo::NamedActions& named) {
    place.emplace_back(named.name);
    lookAtName(place, named.name);
    for (const ActionEntry& action : named.actions) {
      place.emplace_back(action.code);
      lookAtAction(place, action);
      place.pop_back();
    }
  }

  void lookAtAction(const Place& place, const ActionEntry& action) {
    const ActionID actionID(action.code);
    const KnownAction* const known = std::get_if<KnownAction>(&actionID.value());
    if (known == nullptr) {
      const auto meant = meantCode(action.code);
      report(OddityKind::unknownAction, place,
             "unknown action code; nothing is run for it and it counts as passed" +
                 (meant ? text("; did you mean ", inQuotes(*meant), '?') : std::string()));
      return;
    }
    if (*known == KnownAction::applicationRunningNotifier) {
      report(OddityKind::actionWithoutEffect, place,
             text(describe(actionID), " does nothing and counts as passed"));
    }
    const ArgumentRule rule = ruleOf(*known);
    if (action.arguments.size() < rule.needed) {
      report(OddityKind::missingArgument, place,
             text(describe(actionID), " needs ", rule.what, ": ", kAppliesLater));
    }
    if (action.arguments.size() > rule.read) {
      const std::size_t more = action.arguments.size() - rule.read - 1;
      report(OddityKind::unreadArgument, within(place, rule.read),
             text(describe(actionID), " reads ",
                  rule.read == 0 ? "no argument" : text("only ", rule.what), ": this one",
                  more == 0 ? std::string(" is not read")
                            : text(" and ", more, " more are not read")));
    }
    std::unordered_set<std::string_view> former;
    for (std::size_t index = 0; index < std::min(rule.read, action.arguments.size()); ++index) {
      const std::string_view argument = action.arguments[static_cast<std::ptrdiff_t>(index)];
      const bool isRepeated = !former.insert(argument).second;
      lookAtArgument(*known, within(place, index), index, argument, isRepeated);
    }
  }

  void lookAtArgument(KnownAction action, const Place& place, std::size_t index,
                      std::string_view argument, bool isRepeated) {
    switch (action) {
      case KnownAction::siliconBatteryPercentageCheck:
      case KnownAction::intelBatteryPercentageCheck:
        lookAtInteger(place, argument, kMostPercent, "a battery never reaches it");
        return;
      case KnownAction::minimumDiskSpaceCheck:
        lookAtInteger(place, argument, kManyGigabytes, "the argument is in gigabytes");
        return;
      case KnownAction::macOSDeferCheck:
        lookAtVersion(place, argument);
        return;
      case KnownAction::installMacOSUpdates:
        if (index == 0) {
          lookAtVersion(place, argument);
        } else if (argument.empty()) {
          report(OddityKind::unusableArgument, place, "the softwareupdate label is empty");
        }
        return;
      case KnownAction::applicationRunningCheck:
        lookAtBundleIdentifier(place, argument, isRepeated);
        return;
      case KnownAction::installMacOSUpdatesUsingInstallAssistant:
        lookAtApplicationPath(place, argument);
        return;
      case KnownAction::userLoggedInCheck:
      case KnownAction::multipleUserLoggedInCheck:
      case KnownAction::applicationRunningNotifier:
        return;  // they read none
    }
  }

  void lookAtInteger(const Place& place, std::string_view argument, std::int64_t most,
                     std::string_view whyNotMore) {
    const std::optional<std::int64_t> number = vexlo::parseInteger(argument);
    if (!number) {
      report(OddityKind::unusableArgument, place,
             text(inQuotes(argument),
                  " is no integer (an optional sign, then digits only): ", kAppliesLater));
    } else if (*number < 0) {
      report(OddityKind::questionableArgument, place,
             text(inQuotes(argument), " is negative: the check always passes"));
    } else if (*number > most) {
      report(OddityKind::questionableArgument, place,
             text(inQuotes(argument), " is more than ", most, ": ", whyNotMore));
    }
  }

  void lookAtVersion(const Place& place, std::string_view argument) {
    if (!isVersion(argument)) {
      report(OddityKind::questionableArgument, place,
             text(inQuotes(argument), " is no macOS version such as \"14.5\""));
    }
  }

  void lookAtBundleIdentifier(const Place& place, std::string_view argument, bool isRepeated) {
    if (argument.empty()) {
      report(OddityKind::unusableArgument, place, "the bundle identifier is empty");
    } else if (isRepeated) {
      report(OddityKind::repeatedArgument, place,
             text(inQuotes(argument), " stands in the list already"));
    } else if (!isBundleIdentifier(argument)) {
      report(OddityKind::questionableArgument, place,
             text(inQuotes(argument), " is no bundle identifier such as \"com.apple.Safari\""));
    }
  }

  void lookAtApplicationPath(const Place& place, std::string_view argument) {
    if (argument.empty()) {
      report(OddityKind::unusableArgument, place, "the application's path is empty");
    } else if (!argument.starts_with('/')) {
      report(OddityKind::questionableArgument, place,
             text(inQuotes(argument),
                  " is no absolute path: it is taken from wherever the agent "
                  "was started"));
    } else if (!argument.ends_with(".app") && !argument.ends_with(".app/")) {
      report(OddityKind::questionableArgument, place,
             text(inQuotes(argument), " is no application: its name doesn't end in \".app\""));
    }
  }

  static std::string element(std::size_t index) { return text('[', index, ']'); }
  static Place within(Place place, std::size_t index) {
    place.push_back(element(index));
    return place;
  }

  std::vector<Oddity>& oddities_;
};

}  // namespace

std::string_view name(OddityKind kind) {
  switch (kind) {
    case OddityKind::byteOrderMark:
      return "byteOrderMark";
    case OddityKind::repeatedName:
      return "repeatedName";
    case OddityKind::ignoredMember:
      return "ignoredMember";
    case OddityKind::suspiciousName:
      return "suspiciousName";
    case OddityKind::unknownAction:
      return "unknownAction";
    case OddityKind::actionWithoutEffect:
      return "actionWithoutEffect";
    case OddityKind::missingArgument:
      return "missingArgument";
    case OddityKind::unusableArgument:
      return "unusableArgument";
    case OddityKind::questionableArgument:
      return "questionableArgument";
    case OddityKind::unreadArgument:
      return "unreadArgument";
    case OddityKind::repeatedArgument:
      return "repeatedArgument";
    case OddityKind::exemptWithoutActions:
      return "exemptWithoutActions";
  }
  std::unreachable();
}

std::vector<Oddity> findOddities(const vexlo::PatchActionGroup& group, std::string_view text) {
  std::vector<Oddity> oddities = findOddMembers(text);
  FileCheck(oddities).look(group);
  return oddities;
}

std::string placeOf(const std::vector<std::string>& members) {
  std::string out;
  for (const std::string& member : members) {
    out += (out.empty() ? "" : " › ") + member;
  }
  return out;
}

}  // namespace agent_tool
