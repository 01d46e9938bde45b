#include "AgentTool/ActionFiles/ActionFileCheck.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/ActionFiles/ArgumentKinds.h"
#include "AgentTool/ActionFiles/Spelling.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/JSON/JSONDocument.h"
#include "Platform/Text.h"
#include "VexloPatchDeployment/PatchActions/Main/KnownActions.h"

namespace agent_tool {
namespace {

using LogCore::text;
using vexlo::ActionArgument;
using vexlo::ArgumentKind;
using vexlo::KnownActionRow;
using ValueType = JSONValue::Type;

constexpr std::string_view kProducts = "ProductServicePackActions";
constexpr std::string_view kPatches = "PatchActions";
constexpr std::string_view kExclusions = "ExclusionPatchIDs";
constexpr std::string_view kSchema = "$schema";  // for editors
constexpr std::array kRootMembers{kProducts, kPatches, kExclusions};

bool isKnownMember(std::string_view name) { return name == kProducts || name == kPatches; }

std::string_view typeName(ValueType type) {
  // In the enumeration's order.
  static constexpr std::array<std::string_view, 8> kNames{
      "null", "a Boolean", "a number", "a number", "a number", "a string", "an array", "an object"};
  return kNames.at(std::to_underlying(type));
}

/// Null if there is none.
const KnownActionRow* actionWithCode(std::string_view code) {
  const KnownActionRow* const row = vexlo::findKnownAction(code);
  return row != nullptr && row->code == code ? row : nullptr;
}

/// The code that was probably meant, if `code` is one with extra spaces, a sign, leading zeros or a
/// wrong digit, or an action's name.
std::string_view meantCode(std::string_view code) {
  const std::size_t first = std::min(code.find_first_not_of(" \t\r\n+0"), code.size());
  const std::string_view bare = platform::trimmed(code.substr(first), " \t\r\n");
  if (actionWithCode(bare) != nullptr) {
    return bare;
  }
  std::vector<std::string_view> words;
  for (const KnownActionRow& row : vexlo::knownActions()) {
    words.insert(words.end(), {row.code, row.name});
  }
  const KnownActionRow* const row = vexlo::findKnownAction(closestWord(code, words));
  return row == nullptr ? std::string_view() : row->code;
}

/// «the macOS version and the update label»
std::string argumentNames(std::span<const ActionArgument> arguments) {
  return "the " + platform::joined(arguments, " and the ", &ActionArgument::name);
}

/// A value of the document and its places in the text.
struct Value {
  const JSONValue* json;
  const Value* container = nullptr;       ///< Null for the document.
  std::string_view name = {};             ///< Of a member.
  std::optional<std::size_t> index = {};  ///< Of an element.
  std::size_t offset = 0;
  std::size_t nameOffset = offset;  ///< Of the name; without one, of the value.
  /// Whether neither it nor an object around it is replaced by a later duplicate.
  bool counts = true;

  [[nodiscard]] std::string_view string() const {
    return json->get<std::string_view>().value_or("");
  }
};

/// The values from a member of the document to a value in it, inclusive.
using Path = std::vector<const Value*>;

Path pathTo(const Value& value) {
  Path path;
  for (const Value* step = &value; step->container != nullptr; step = step->container) {
    path.insert(path.begin(), step);
  }
  return path;
}

bool isInProducts(const Path& path) { return path.size() == 2 && path[0]->name == kProducts; }

/// "PatchActions › 310872 › 2005 › [0]"
std::string placeOf(const Path& path) {
  return platform::joined(path, " › ", [](const Value* step) {
    return step->index ? text('[', *step->index, ']') : FileCodec::nameInPlace(step->name);
  });
}

/// "/PatchActions/310872/2005/0"
std::string pointerOf(const Path& path) {
  std::string out;
  for (const Value* const step : path) {
    out += '/';
    for (const char c : step->index ? std::to_string(*step->index) : std::string(step->name)) {
      if (c == '~' || c == '/') {
        out += c == '~' ? "~0" : "~1";
      } else {
        out += c;
      }
    }
  }
  return out;
}

/// What to do about a member that is named almost like one of the document; empty for others.
std::string adviceOn(const Value& member) {
  const std::string_view meant = closestWord(member.name, kRootMembers);
  if (meant.empty()) {
    return {};
  }
  const Path path = pathTo(member);
  if (meant == kExclusions ? isInProducts(path) : path.size() == 1) {
    return text("did you mean ", inQuotes(meant), '?');
  }
  return text(inQuotes(meant), " belongs in ",
              meant == kExclusions ? inQuotes(kProducts) : "the document itself");
}

/// What a value of a wrong type was probably meant to be; empty if that isn't clear.
std::string hintFor(const Value& value, std::string_view expected) {
  const ValueType type = value.json->type();
  const Path path = pathTo(value);
  if (typeName(type) == "a number" && expected == "a string") {
    return R"(strings are in double quotes, numbers too: "30", not 30)";
  }
  if (type == ValueType::string && expected == "an array of strings") {
    return value.name == kExclusions ? R"(patch IDs are in an array: ["310872"], not "310872")"
                                     : R"(an action's arguments are in an array: ["30"], not "30")";
  }
  if (type == ValueType::array && closestWord(value.name, kRootMembers) == kExclusions) {
    return adviceOn(value) + (isInProducts(path) ? " Names are case-sensitive" : "");
  }
  if (type == ValueType::array && path.size() == 3 &&
      vexlo::findKnownAction(value.name) != nullptr) {
    return "a product's actions are those of its service packs";
  }
  if (type == ValueType::object && path.size() == 3 && path[0]->name == kPatches) {
    return text("products with service packs belong in ", inQuotes(kProducts));
  }
  return {};
}

class FileCheck {
 public:
  /// `offsets` has the place in `source` of each value of the document.
  FileCheck(std::string_view source, const JSONValue& root, std::vector<std::uint32_t> offsets)
      : source_(source), root_(root), offsets_(std::move(offsets)) {}

  std::vector<Finding> check() {
    const Value document{.json = &root_, .offset = offsets_.front()};
    if (has(ValueType::object, document, "an object")) {
      checkMembers(document);
    }
    return std::move(findings_);
  }

 private:
  void checkMembers(const Value& document) {
    const std::vector<Value> members = membersOf(document);
    const Value* lacking = &document;  // the actions, if there are none
    bool hasActions = false;
    for (const Value& member : members) {
      if (!isKnownMember(member.name)) {
        reportIgnored(member);
      } else if (!member.json->isNull()) {
        hasActions = hasActions || member.counts;
        checkKnownMember(member);
      } else if (member.counts) {
        lacking = &member;
      }
    }
    if (!hasActions) {
      reportAt(lacking->offset, FindingKind::noActions, *lacking,
               lacking == &document
                   ? "has neither ProductServicePackActions nor PatchActions: no action applies to "
                     "any patch"
                   : "is null, which counts as missing: no action applies to any patch");
    }
  }

  /// Drops warnings about replaced values, which have no effect.
  void reportAt(std::size_t offset, FindingKind kind, const Value& value, std::string what) {
    if (value.counts || isError(kind)) {
      const Path path = pathTo(value);
      const auto [line, start] = lineAt(offset);
      findings_.push_back({.kind = kind,
                           .offset = offset,
                           .line = line,
                           .column = offset - start + 1,
                           .pointer = pointerOf(path),
                           .place = placeOf(path),
                           .text = std::move(what)});
    }
  }
  /// At the name of a member or at an element.
  void report(FindingKind kind, const Value& value, std::string what) {
    reportAt(value.nameOffset, kind, value, std::move(what));
  }

  /// Whether the value has the type, which is reported otherwise.
  bool has(ValueType type, const Value& value, std::string_view expected) {
    const bool isRight = value.json->type() == type;
    if (!isRight) {
      const std::string hint = hintFor(value, expected);
      reportAt(value.offset, FindingKind::wrongType, value,
               text("expected ", expected, ", found ", typeName(value.json->type()),
                    hint.empty() ? "" : " (" + hint + ')'));
    }
    return isRight;
  }

  [[nodiscard]] std::size_t offsetOf(const JSONValue& value) const {
    return offsets_[static_cast<std::size_t>(&value - &root_)];
  }

  /// The members of an object, in order. Reports duplicates.
  std::vector<Value> membersOf(const Value& object) {
    std::vector<Value> members;
    object.json->forEachMember([&](std::string_view name, const JSONValue& member) {
      members.push_back({.json = &member,
                         .container = &object,
                         .name = name,
                         .offset = offsetOf(member),
                         .nameOffset = offsetOf(*(&member - 1)),
                         .counts = object.counts});
    });
    std::unordered_map<std::string_view, std::pair<const Value*, Value*>> occurrences;
    for (Value& member : members) {
      const auto [found, isFirst] = occurrences.try_emplace(member.name, &member, &member);
      if (!isFirst) {
        std::exchange(found->second.second, &member)->counts = false;
      }
    }
    if (occurrences.size() < members.size()) {
      for (const auto& [name, ends] : occurrences) {
        const auto& [first, last] = ends;
        if (first != last && (object.container != nullptr || isKnownMember(name))) {
          report(FindingKind::repeatedName, *last,
                 text("occurs more than once in its object; the last one counts (first in line ",
                      lineAt(first->nameOffset).first, ')'));
        }
      }
    }
    return members;
  }

  /// The elements of an array of strings; absent for any other value, which is reported.
  std::optional<std::vector<Value>> stringsOf(const Value& array) {
    bool isRight = has(ValueType::array, array, "an array of strings");
    std::vector<Value> strings;
    array.json->forEachElement([&](const JSONValue& element) {
      strings.push_back({.json = &element,
                         .container = &array,
                         .index = strings.size(),
                         .offset = offsetOf(element),
                         .counts = array.counts});
      isRight = has(ValueType::string, strings.back(), "a string") && isRight;
    });
    return isRight ? std::optional(std::move(strings)) : std::nullopt;
  }

  void reportIgnored(const Value& member) {
    if (member.name != kSchema) {
      const std::string advice = adviceOn(member);
      report(FindingKind::ignoredMember, member,
             advice.empty() ? "is not read" : "is not read; " + advice);
    }
  }

  void checkKnownMember(const Value& member) {
    if (!has(ValueType::object, member, "an object or null")) {
      return;
    }
    for (const Value& each : membersOf(member)) {
      if (member.name == kPatches) {
        checkActions(each, "a patch");
      } else if (each.name == kExclusions) {
        checkExclusions(each);
      } else if (has(ValueType::object, each, "an object")) {
        checkName(each, "a product");
        for (const Value& servicePack : membersOf(each)) {
          checkActions(servicePack, "a service pack");
        }
      }
    }
  }

  void checkExclusions(const Value& list) {
    const auto patchIDs = stringsOf(list);
    if (!patchIDs || !list.counts) {
      return;
    }
    std::unordered_map<std::string_view, const JSONValue*> patches;
    root_.forEachMember([&](std::string_view name, const JSONValue& all) {
      if (name == kPatches) {
        patches.clear();  // the last one counts
        all.forEachMember([&](std::string_view patchID, const JSONValue& patch) {
          patches.insert_or_assign(patchID, &patch);
        });
      }
    });
    std::unordered_set<std::string_view> seen;
    for (const Value& element : *patchIDs) {
      const std::string_view patchID = element.string();
      if (!seen.insert(patchID).second) {
        report(FindingKind::repeatedArgument, element,
               text("patch ", inQuotes(patchID), " is already in the list"));
        continue;
      }
      checkID(patchID, element);
      const auto own = patches.find(patchID);
      if (own == patches.end() || own->second->isEmptyObject()) {
        report(FindingKind::exemptWithoutActions, element,
               text("patch ", inQuotes(patchID),
                    " is exempt from the product's actions and has none of its own: nothing is run "
                    "for it"));
      }
    }
  }

  /// The name of a product, service pack or patch.
  void checkName(const Value& value, std::string_view takenAs) {
    checkID(value.name, value);
    if (const std::string advice = adviceOn(value); !advice.empty()) {
      report(FindingKind::suspiciousName, value, text("is taken as ", takenAs, "; ", advice));
    }
  }

  void checkID(std::string_view id, const Value& value) {
    if (id.empty()) {
      report(FindingKind::suspiciousName, value, "the ID is empty");
    } else if (hasBlanksAround(id) || printable(id) != id) {
      report(FindingKind::suspiciousName, value,
             text("the ID ", inQuotes(id), " has ",
                  hasBlanksAround(id) ? "spaces around it" : "invisible characters",
                  ", which are significant"));
    }
  }

  /// A known action and its arguments in the file.
  struct Known {
    const KnownActionRow* row;
    const Value* action;
    std::vector<Value> arguments;
  };

  /// The actions of a service pack or patch.
  void checkActions(const Value& owner, std::string_view takenAs) {
    if (!has(ValueType::object, owner, "an object")) {
      return;
    }
    checkName(owner, takenAs);
    std::vector<Known> known;
    const std::vector<Value> actions = membersOf(owner);
    for (const Value& action : actions) {
      auto arguments = stringsOf(action);
      if (!arguments || !action.counts) {
        continue;
      }
      if (const KnownActionRow* const row = actionWithCode(action.name)) {
        known.push_back({row, &action, *std::move(arguments)});
        checkArguments(known.back());
        continue;
      }
      const std::string_view meant = meantCode(action.name);
      report(FindingKind::unknownAction, action,
             "unknown action code; nothing is run for it and it counts as passed" +
                 (meant.empty() ? std::string() : text("; did you mean ", inQuotes(meant), '?')));
    }
    std::ranges::sort(known, {}, [](const Known& each) { return each.row->action; });
    checkRestarts(known);
    checkVersions(known);
  }

  void checkArguments(const Known& known) {
    const auto& [row, action, given] = known;
    const std::size_t wanted = row->arguments.size();
    if (row->doesNothing) {
      report(FindingKind::actionWithoutEffect, *action,
             text(row->name, " does nothing and counts as passed"));
    }
    if (given.size() < row->requiredArguments()) {
      reportAt(
          action->offset, FindingKind::missingArgument, *action,
          text(row->name, " needs ", argumentNames(row->arguments.first(row->requiredArguments())),
               ": ", kAppliesLater));
    }
    std::unordered_set<std::string_view> former;
    for (std::size_t index = 0; index < given.size(); ++index) {
      const Value& argument = given[index];
      if (index >= wanted && !row->lastRepeats) {
        const std::size_t more = given.size() - index - 1;
        report(
            FindingKind::unreadArgument, argument,
            text(row->name, " reads ",
                 wanted == 0 ? "no argument" : "only " + argumentNames(row->arguments),
                 ": this one", more == 0 ? " is" : text(" and ", more, " more are"), " not read"));
        return;
      }
      const bool isRepeatable = row->lastRepeats && index + 1 >= wanted;
      if (isRepeatable && !former.insert(argument.string()).second) {
        report(FindingKind::repeatedArgument, argument,
               text(inQuotes(argument.string()), " is already in the list"));
      } else if (auto problem =
                     problemWith(row->arguments[std::min(index, wanted - 1)], argument.string())) {
        report(
            problem->isUsable ? FindingKind::questionableArgument : FindingKind::unusableArgument,
            argument, std::move(problem->text));
      }
    }
  }

  /// Actions that run after one that restarts the Mac.
  void checkRestarts(std::span<const Known> known) {
    for (; !known.empty(); known = known.subspan(1)) {
      const Known& first = known.front();
      for (const Known& later : known.subspan(1)) {
        if (first.row->restarts && !later.row->doesNothing) {
          report(FindingKind::restartBeforeAction, *first.action,
                 text(first.row->name, " restarts the Mac before ", later.row->name, " (",
                      later.action->name, ") runs"));
        }
      }
    }
  }

  /// Actions of one patch or service pack that name different macOS versions, labels included.
  void checkVersions(const std::vector<Known>& known) {
    const KnownActionRow* first = nullptr;
    std::string_view version;
    for (const auto& [row, action, given] : known) {
      for (std::size_t index = 0; index < std::min(given.size(), row->arguments.size()); ++index) {
        const ArgumentKind kind = row->arguments[index].kind;
        const bool isLabel = kind == ArgumentKind::updateLabel;
        if (!isLabel && kind != ArgumentKind::macOSVersion) {
          continue;
        }
        const std::string_view mine =
            isLabel ? versionInLabel(given[index].string()) : given[index].string();
        if (first == nullptr) {
          first = row;
          version = mine;
        } else if (isLabel ? !mine.empty() && mine != version.substr(0, version.find(" ("))
                           : mine != version) {
          report(FindingKind::differentVersions, given[index],
                 text(inQuotes(mine), " differs from the version of ", first->name, ", ",
                      inQuotes(version)));
        }
      }
    }
  }

  /// The line's number, from 1, and where it starts.
  std::pair<std::size_t, std::size_t> lineAt(std::size_t offset) {
    for (; nextFeed_ < offset; nextFeed_ = source_.find('\n', nextFeed_ + 1)) {
      lineStarts_.push_back(static_cast<std::uint32_t>(nextFeed_ + 1));
    }
    const auto next = std::ranges::upper_bound(lineStarts_, offset);
    return {next - lineStarts_.begin(), *std::prev(next)};
  }

  std::string_view source_;
  const JSONValue& root_;
  std::vector<std::uint32_t> offsets_;
  std::vector<std::uint32_t> lineStarts_{0};   // as far as needed
  std::size_t nextFeed_ = source_.find('\n');  // the end of the last of these lines
  std::vector<Finding> findings_;
};

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
  JSONDocument document;
  auto root = document.read(text);
  std::string shortened;
  if (!root && root.error().outcome == FileCodec::JSONOutcome::hugeExponent) {
    // The agent doesn't mind, since it reads no numbers.
    shortened = FileCodec::withShortExponents(std::string(text));
    root = document.read(shortened, text);
  }
  const std::string_view source = FileCodec::withoutByteOrderMark(text);
  std::vector<Finding> findings;
  if (root) {
    findings = FileCheck(source, **root, document.offsets(text)).check();
  } else {
    const FileCodec::JSONReading& reading = root.error();
    findings.push_back(
        {.kind = FindingKind::syntax,
         .offset = reading.offset,
         .line = reading.line,
         .column = reading.column,
         .text = LogCore::text("expected ", reading.expected, ", found ", reading.found)});
  }
  if (source.size() < text.size()) {
    findings.push_back(
        {.kind = FindingKind::byteOrderMark,
         .text = "the file begins with a byte order mark, which some parsers reject"});
  }
  std::ranges::sort(findings, {}, [](const Finding& each) {
    return std::tie(each.offset, each.kind, each.text);
  });
  return findings;
}

}  // namespace agent_tool
