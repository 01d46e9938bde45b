#include "AgentTool/ActionFiles/ActionFileCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFiles/ArgumentKinds.h"
#include "AgentTool/ActionFiles/SourceExcerpt.h"
#include "AgentTool/ActionFiles/Spelling.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/JSON/JSONDocument.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool {
namespace {

using LogCore::text;
using vexlo::ActionArgument;
using vexlo::ActionID;
using vexlo::ArgumentKind;
using vexlo::KnownAction;
using vexlo::KnownActionRow;
using ValueType = JSONValue::Type;

constexpr std::string_view kProducts = "ProductServicePackActions";
constexpr std::string_view kPatches = "PatchActions";
constexpr std::string_view kExclusions = "ExclusionPatchIDs";
constexpr std::string_view kSchema = "$schema";  // for editors
constexpr std::array kRootMembers{kProducts, kPatches, kExclusions};

std::string_view typeName(ValueType type) {
  switch (type) {
    case ValueType::object:
      return "an object";
    case ValueType::array:
      return "an array";
    case ValueType::string:
      return "a string";
    case ValueType::integer:
    case ValueType::unsignedInteger:
    case ValueType::real:
      return "a number";
    case ValueType::boolean:
      return "a Boolean";
    case ValueType::null:
      return "null";
  }
  std::unreachable();
}

/// The code that was probably meant, if `code` is one with extra spaces, a sign, leading zeros or a
/// wrong digit, or an action's name.
std::string_view meantCode(std::string_view code) {
  const std::size_t first = code.find_first_not_of(" \t\r\n+0");
  const std::size_t last = code.find_last_not_of(" \t\r\n");
  const std::string_view bare =
      first < code.size() ? code.substr(first, last + 1 - first) : std::string_view();
  if (ActionID(bare).value().index() == 0) {
    return bare;
  }
  std::vector<std::string_view> words;
  std::ranges::transform(vexlo::knownActions(), std::back_inserter(words), &KnownActionRow::code);
  std::ranges::transform(vexlo::knownActions(), std::back_inserter(words), &KnownActionRow::name);
  const KnownActionRow* const row = vexlo::findKnownAction(closestWord(code, words));
  return row == nullptr ? std::string_view() : row->code;
}

/// A step from a value to one inside it: to a member, or to an element of an array.
struct PathStep {
  std::string_view name;
  std::optional<std::size_t> index;
};
using Path = std::vector<PathStep>;

/// "PatchActions › 310872 › 2005 › [0]"
std::string placeOf(const Path& path) {
  std::string out;
  for (const auto& [name, index] : path) {
    out += out.empty() ? "" : " › ";
    out += index ? text('[', *index, ']') : FileCodec::nameInPlace(name);
  }
  return out;
}

/// "/PatchActions/310872/2005/0"
std::string pointerOf(const Path& path) {
  std::string out;
  for (const auto& [name, index] : path) {
    out += '/';
    if (index) {
      out += std::to_string(*index);
    }
    for (const char c : name) {
      if (c == '~' || c == '/') {
        out += c == '~' ? "~0" : "~1";
      } else {
        out += c;
      }
    }
  }
  return out;
}

/// A value of the document and its places in the text.
struct Value {
  const JSONValue* json;
  std::string_view name;       ///< Of a member; empty for other values.
  std::size_t offset = 0;      ///< Of the value.
  std::size_t nameOffset = 0;  ///< Of the name; without one, of the value.
  ValueType type = json->type();
  std::string_view string = json->string().value_or("");
};

/// A member of an object. It counts unless it, or an object around it, is replaced by a later
/// duplicate.
struct DocumentMember {
  Value value;
  bool counts;
};

bool isKnownMember(std::string_view name) { return name == kProducts || name == kPatches; }

class FileCheck {
 public:
  /// `offsets` has the place of each value of the document.
  FileCheck(const JSONValue& root, std::vector<std::uint32_t> offsets,
            std::vector<Finding>& findings)
      : root_(root), offsets_(std::move(offsets)), findings_(findings) {}

  void check() {
    const Value root{.json = &root_, .name = {}, .offset = offsets_.front()};
    if (!isObject(root)) {
      return;
    }
    const std::vector<DocumentMember> members = membersOf(root, true);
    collectPatches(members);
    for (const auto& [value, counts] : members) {
      path_.push_back({value.name, {}});
      if (isKnownMember(value.name)) {
        checkKnownMember(value, counts);
      } else if (counts && value.name != kSchema) {
        reportIgnored(value);
      }
      path_.pop_back();
    }
    reportNoActions(root, members);
  }

 private:
  void report(FindingKind kind, std::size_t offset, std::string what) {
    findings_.push_back({.kind = kind,
                         .offset = offset,
                         .pointer = pointerOf(path_),
                         .place = placeOf(path_),
                         .text = std::move(what)});
  }
  void reportElement(FindingKind kind, const Value& element, std::size_t index, std::string what) {
    path_.push_back({{}, index});
    report(kind, element.offset, std::move(what));
    path_.pop_back();
  }

  [[nodiscard]] std::size_t offsetOf(const JSONValue& value) const {
    return offsets_[static_cast<std::size_t>(&value - &root_)];
  }

  /// The members or elements of `value`, in order.
  [[nodiscard]] std::vector<Value> children(const Value& value) const {
    std::vector<Value> children;
    value.json->forEachMember([&](std::string_view name, const JSONValue& member) {
      children.push_back({.json = &member,
                          .name = name,
                          .offset = offsetOf(member),
                          .nameOffset = offsetOf(*(&member - 1))});
    });
    value.json->forEachElement([&](const JSONValue& element) {
      const std::size_t offset = offsetOf(element);
      children.push_back({.json = &element, .name = {}, .offset = offset, .nameOffset = offset});
    });
    return children;
  }

  void reportType(const Value& value, std::string_view expected) {
    const std::string hint = hintFor(value, expected);
    report(FindingKind::wrongType, value.offset,
           text("expected ", expected, ", found ", typeName(value.type),
                hint.empty() ? "" : " (" + hint + ')'));
  }

  /// Whether the value has the type, which is reported otherwise.
  bool has(ValueType type, const Value& value, std::string_view expected) {
    if (value.type != type) {
      reportType(value, expected);
    }
    return value.type == type;
  }

  bool isObject(const Value& value) { return has(ValueType::object, value, "an object"); }

  /// What the current value was probably meant to be; empty if that isn't clear.
  [[nodiscard]] std::string hintFor(const Value& value, std::string_view expected) const {
    if (typeName(value.type) == "a number" && expected == "a string") {
      return R"(strings are in double quotes, numbers too: "30", not 30)";
    }
    if (value.type == ValueType::string && expected == "an array of strings") {
      return value.name == kExclusions
                 ? R"(patch IDs are in an array: ["310872"], not "310872")"
                 : R"(an action's arguments are in an array: ["30"], not "30")";
    }
    if (value.type == ValueType::array && closestWord(value.name, kRootMembers) == kExclusions) {
      return path_.size() == 2 && path_.front().name == kProducts
                 ? text("did you mean \"", kExclusions, "\"? Names are case-sensitive")
                 : text('"', kExclusions, "\" belongs in \"", kProducts, '"');
    }
    if (value.type == ValueType::array && path_.size() == 3 &&
        vexlo::findKnownAction(value.name) != nullptr) {
      return "a product's actions are those of its service packs";
    }
    if (value.type == ValueType::object && path_.size() == 3 && path_.front().name == kPatches) {
      return text("products with service packs belong in \"", kProducts, '"');
    }
    return {};
  }

  std::vector<DocumentMember> membersOf(const Value& object, bool counts) {
    const std::vector<Value> all = children(object);
    std::unordered_map<std::string_view, std::size_t> left;  // remaining occurrences of a name
    for (const Value& child : all) {
      ++left[child.name];
    }
    std::vector<DocumentMember> members;
    members.reserve(all.size());
    std::unordered_map<std::string_view, std::size_t> firstOffsets;
    for (const Value& child : all) {
      const bool isLast = --left[child.name] == 0;
      const bool isRead = !path_.empty() || isKnownMember(child.name);
      members.push_back({child, counts && isLast});
      if (left.size() == all.size()) {
        continue;
      }
      const auto [first, isFirst] = firstOffsets.try_emplace(child.name, child.nameOffset);
      if (!isFirst && counts && isLast && isRead) {
        path_.push_back({child.name, {}});
        report(FindingKind::repeatedName, child.nameOffset,
               "occurs more than once in its object; the last one counts");
        path_.pop_back();
        findings_.back().firstOffset = first->second;
      }
    }
    return members;
  }

  void collectPatches(const std::vector<DocumentMember>& members) {
    for (const auto& [value, counts] : members) {
      if (counts && value.name == kPatches && value.type == ValueType::object) {
        for (const Value& patch : children(value)) {
          patches_.insert_or_assign(patch.name, patch);
        }
      }
    }
  }

  void reportIgnored(const Value& value) {
    const std::string_view meant = closestWord(value.name, kRootMembers);
    report(FindingKind::ignoredMember, value.nameOffset,
           "is not read" + (meant.empty() ? std::string()
                            : meant == kExclusions
                                ? text("; ", inQuotes(meant), " belongs in \"", kProducts, '"')
                                : text("; did you mean ", inQuotes(meant), '?')));
  }

  void reportNoActions(const Value& root, const std::vector<DocumentMember>& members) {
    std::optional<Value> null;
    for (const auto& [value, counts] : members) {
      if (counts && isKnownMember(value.name)) {
        if (value.type != ValueType::null) {
          return;
        }
        null.emplace(value);
      }
    }
    if (!null) {
      report(FindingKind::noActions, root.offset,
             "has neither ProductServicePackActions nor PatchActions: no action applies to any "
             "patch");
      return;
    }
    path_.push_back({null->name, {}});
    report(FindingKind::noActions, null->offset,
           "is null, which counts as missing: no action applies to any patch");
    path_.pop_back();
  }

  void checkKnownMember(const Value& value, bool counts) {
    if (value.type == ValueType::null) {
      return;
    }
    if (value.type != ValueType::object) {
      reportType(value, "an object or null");
      return;
    }
    const bool isProducts = value.name == kProducts;
    for (const auto& [member, memberCounts] : membersOf(value, counts)) {
      path_.push_back({member.name, {}});
      if (isProducts && member.name == kExclusions) {
        checkExclusions(member, memberCounts);
      } else if (isProducts) {
        checkProduct(member, memberCounts);
      } else {
        checkActions(member, memberCounts, "a patch");
      }
      path_.pop_back();
    }
  }

  /// Whether the value is an array of strings only.
  bool isArrayOfStrings(const Value& value) {
    if (!has(ValueType::array, value, "an array of strings")) {
      return false;
    }
    bool allAre = true;
    std::size_t index = 0;
    for (const Value& element : children(value)) {
      path_.push_back({{}, index++});
      allAre = has(ValueType::string, element, "a string") && allAre;
      path_.pop_back();
    }
    return allAre;
  }

  void checkExclusions(const Value& value, bool counts) {
    if (!isArrayOfStrings(value) || !counts) {
      return;
    }
    std::unordered_set<std::string_view> seen;
    std::size_t index = 0;
    for (const Value& element : children(value)) {
      const std::string_view patchID = element.string;
      path_.push_back({{}, index++});
      if (!seen.insert(patchID).second) {
        report(FindingKind::repeatedArgument, element.offset,
               text("patch ", inQuotes(patchID), " is already in the list"));
      } else {
        checkID(patchID, element.offset);
        const auto own = patches_.find(patchID);
        if (own == patches_.end() ||
            (own->second.type == ValueType::object && children(own->second).empty())) {
          report(FindingKind::exemptWithoutActions, element.offset,
                 text("patch ", inQuotes(patchID),
                      " is exempt from the product's actions and has none of its own: nothing is "
                      "run for it"));
        }
      }
      path_.pop_back();
    }
  }

  void checkProduct(const Value& product, bool counts) {
    if (!isObject(product)) {
      return;
    }
    checkName(product, counts, "a product");
    for (const auto& [servicePack, packCounts] : membersOf(product, counts)) {
      path_.push_back({servicePack.name, {}});
      checkActions(servicePack, packCounts, "a service pack");
      path_.pop_back();
    }
  }

  /// The name of a product, service pack or patch.
  void checkName(const Value& value, bool counts, std::string_view takenAs) {
    if (!counts) {
      return;
    }
    checkID(value.name, value.nameOffset);
    const std::string_view meant = closestWord(value.name, kRootMembers);
    if (meant.empty()) {
      return;
    }
    const bool isItsPlace = path_.size() == 2 && path_.front().name == kProducts;
    report(FindingKind::suspiciousName, value.nameOffset,
           text("is taken as ", takenAs, "; ",
                meant == kExclusions && isItsPlace
                    ? text("did you mean ", inQuotes(meant), '?')
                    : text(inQuotes(meant), " belongs in ",
                           meant == kExclusions ? inQuotes(kProducts) : "the document itself")));
  }

  void checkID(std::string_view id, std::size_t offset) {
    if (id.empty()) {
      report(FindingKind::suspiciousName, offset, "the ID is empty");
    } else if (hasBlanksAround(id)) {
      report(FindingKind::suspiciousName, offset,
             text("the ID ", inQuotes(id), " has spaces around it, which are significant"));
    } else if (printable(id) != id) {
      report(FindingKind::suspiciousName, offset,
             text("the ID ", inQuotes(id), " has invisible characters, which are significant"));
    }
  }

  /// The actions of a service pack or patch.
  void checkActions(const Value& owner, bool counts, std::string_view takenAs) {
    if (!isObject(owner)) {
      return;
    }
    checkName(owner, counts, takenAs);
    std::vector<Known> known;
    for (const auto& [action, actionCounts] : membersOf(owner, counts)) {
      path_.push_back({action.name, {}});
      if (isArrayOfStrings(action) && actionCounts) {
        checkAction(action, known);
      }
      path_.pop_back();
    }
    std::ranges::sort(known, {}, [](const Known& each) { return each.row->action; });
    checkRestarts(known);
    checkVersions(known);
  }

  /// A known action and its arguments in the file.
  struct Known {
    const KnownActionRow* row;
    Value value;
  };

  void checkAction(const Value& action, std::vector<Known>& known) {
    const ActionID actionID(action.name);
    const KnownAction* const which = std::get_if<KnownAction>(&actionID.value());
    if (which == nullptr) {
      const std::string_view meant = meantCode(action.name);
      report(FindingKind::unknownAction, action.nameOffset,
             "unknown action code; nothing is run for it and it counts as passed" +
                 (meant.empty() ? std::string() : text("; did you mean ", inQuotes(meant), '?')));
      return;
    }
    const KnownActionRow& row = rowOf(*which);
    known.push_back({&row, action});
    if (row.doesNothing) {
      report(FindingKind::actionWithoutEffect, action.nameOffset,
             text(describe(actionID), " does nothing and counts as passed"));
    }
    checkArguments(describe(actionID), row, action);
  }

  void checkArguments(const std::string& name, const KnownActionRow& row, const Value& list) {
    const std::vector<Value> given = children(list);
    const std::size_t wanted = row.arguments.size();
    if (given.size() < row.requiredArguments()) {
      report(FindingKind::missingArgument, list.offset,
             text(name, " needs ", argumentNames(row.arguments.first(row.requiredArguments())),
                  ": ", kAppliesLater));
    }
    std::unordered_set<std::string_view> former;
    for (std::size_t index = 0; index < given.size(); ++index) {
      const Value& argument = given[index];
      if (index >= wanted && !row.lastRepeats) {
        const std::size_t more = given.size() - index - 1;
        reportElement(FindingKind::unreadArgument, argument, index,
                      text(name, " reads ",
                           wanted == 0 ? "no argument" : "only " + argumentNames(row.arguments),
                           ": this one", more == 0 ? "" : text(" and ", more, " more"),
                           more == 0 ? " is not read" : " are not read"));
        return;
      }
      const bool isRepeatable = row.lastRepeats && index + 1 >= wanted;
      if (isRepeatable && !former.insert(argument.string).second) {
        reportElement(FindingKind::repeatedArgument, argument, index,
                      text(inQuotes(argument.string), " is already in the list"));
        continue;
      }
      const ActionArgument& what = row.arguments[std::min(index, wanted - 1)];
      if (auto problem = problemWith(what, argument.string)) {
        reportElement(problem->kind, argument, index, std::move(problem->text));
      }
    }
  }

  /// «the macOS version and the update label»
  static std::string argumentNames(std::span<const ActionArgument> arguments) {
    return "the " + platform::joined(arguments, " and the ", &ActionArgument::name);
  }

  /// Actions that run after one that restarts the Mac.
  void checkRestarts(const std::vector<Known>& known) {
    for (auto action = known.begin(); action != known.end(); ++action) {
      if (!action->row->restarts) {
        continue;
      }
      path_.push_back({action->value.name, {}});
      for (auto later = action + 1; later != known.end(); ++later) {
        if (!later->row->doesNothing) {
          report(FindingKind::restartBeforeAction, action->value.nameOffset,
                 text(action->row->name, " restarts the Mac before ", later->row->name, " (",
                      later->value.name, ") runs"));
        }
      }
      path_.pop_back();
    }
  }

  /// Actions of one patch or service pack that name different macOS versions, labels included.
  void checkVersions(const std::vector<Known>& known) {
    const Known* first = nullptr;
    std::string_view version;
    for (const Known& action : known) {
      const std::vector<Value> given = children(action.value);
      const auto& arguments = action.row->arguments;
      for (std::size_t index = 0; index < std::min(given.size(), arguments.size()); ++index) {
        const bool isLabel = arguments[index].kind == ArgumentKind::updateLabel;
        if (!isLabel && arguments[index].kind != ArgumentKind::macOSVersion) {
          continue;
        }
        const std::string_view mine =
            isLabel ? versionInLabel(given[index].string) : given[index].string;
        if (first == nullptr) {
          first = &action;
          version = mine;
        } else if (isLabel ? !mine.empty() && mine != version.substr(0, version.find(" ("))
                           : mine != version) {
          path_.push_back({action.value.name, {}});
          reportElement(FindingKind::differentVersions, given[index], index,
                        text(inQuotes(mine), " differs from the version of ", first->row->name,
                             ", ", inQuotes(version)));
          path_.pop_back();
        }
      }
    }
  }

  const JSONValue& root_;
  std::vector<std::uint32_t> offsets_;
  std::vector<Finding>& findings_;
  Path path_;
  std::unordered_map<std::string_view, Value> patches_;  // those that count
};

/// Adds to the findings about repeated names in which line the name occurs first.
void addFirstLines(std::string_view source, std::vector<Finding>& findings) {
  std::vector<std::pair<std::size_t, Finding*>> repeated;
  for (Finding& finding : findings) {
    if (finding.firstOffset) {
      repeated.emplace_back(*finding.firstOffset, &finding);
    }
  }
  std::ranges::sort(repeated, {}, [](const auto& each) { return each.first; });
  if (source.starts_with(FileCodec::kByteOrderMark)) {
    source.remove_prefix(FileCodec::kByteOrderMark.size());
  }
  LineCounter lines(source);
  for (const auto& [firstOffset, finding] : repeated) {
    finding->text += text(" (first in line ", lines.at(firstOffset).line, ')');
  }
}

}  // namespace

std::string_view name(FindingKind kind) {
  static constexpr auto kNames = std::to_array<std::string_view>(
      {"unreadable", "syntax", "wrongType", "byteOrderMark", "noActions", "repeatedName",
       "ignoredMember", "suspiciousName", "unknownAction", "actionWithoutEffect", "missingArgument",
       "unusableArgument", "questionableArgument", "unreadArgument", "repeatedArgument",
       "exemptWithoutActions", "differentVersions", "restartBeforeAction"});
  static_assert(kNames.size() == static_cast<std::size_t>(FindingKind::restartBeforeAction) + 1);
  return kNames[static_cast<std::size_t>(kind)];
}

std::vector<Finding> checkActionFile(std::string_view text) {
  std::vector<Finding> findings;
  if (text.starts_with(FileCodec::kByteOrderMark)) {
    findings.push_back(
        {.kind = FindingKind::byteOrderMark,
         .offset = 0,
         .pointer = {},
         .place = {},
         .text = "the file begins with a byte order mark, which some parsers reject"});
  }
  JSONDocument document;
  auto root = document.read(text);
  std::string shortened;
  if (!root && root.error().outcome == FileCodec::JSONOutcome::hugeExponent) {
    // The agent doesn't mind, since it reads no numbers.
    shortened = FileCodec::withShortExponents(std::string(text));
    root = document.read(shortened, text);
  }
  if (root) {
    FileCheck(**root, document.offsets(text), findings).check();
    addFirstLines(text, findings);
  } else {
    const FileCodec::JSONReading& reading = root.error();
    findings.push_back(
        {.kind = FindingKind::syntax,
         .offset = reading.offset,
         .pointer = {},
         .place = {},
         .text = LogCore::text("expected ", reading.expected, ", found ", reading.found)});
  }
  std::ranges::sort(findings, {}, [](const Finding& each) {
    return std::tie(each.offset, each.kind, each.text);
  });
  return findings;
}

}  // namespace agent_tool
