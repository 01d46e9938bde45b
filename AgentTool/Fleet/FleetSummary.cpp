#include "AgentTool/Fleet/FleetSummary.h"

#include <algorithm>
#include <utility>

#include "AgentLibraries/FileCodec/JSONObject.h"
#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Facts/CompactJSON.h"
#include "AgentTool/Facts/JSONMembers.h"
#include "VexloPatchDeployment/Common/ActionID.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using FileCodec::jsonArray;
using FileCodec::jsonList;
using FileCodec::JSONObject;
using LogCore::text;

constexpr std::int64_t kSummaryVersion = 1;  // of the JSON form
constexpr std::int64_t kHighestMajorVersion = 99;
constexpr const char* kAppleSilicon = "apple-silicon";
constexpr const char* kIntel = "intel";

void increase(std::uint64_t& sum, std::uint64_t by) {
  // Neither exceeds the limit, so the sum fits.
  sum = std::min(sum + std::min(by, FleetSummary::kMostMachines), FleetSummary::kMostMachines);
}

std::string owned(std::string_view text) { return std::string(text); }
FleetAnswer owned(const FleetAnswerView& answer) {
  return {owned(answer.outcome), owned(answer.action), owned(answer.reason)};
}

// Writing

std::string actionsAsJSON(const std::vector<FleetAction>& actions) {
  std::vector<std::string> all;
  all.reserve(actions.size());
  for (const auto& [code, arguments] : actions) {
    all.push_back(
        JSONObject().addString("code", code).addJSON("arguments", jsonList(arguments)).done());
  }
  return jsonArray(all);
}

std::string questionAsJSON(const FleetQuestion& question) {
  return JSONObject()
      .addString("patchID", question.patchID)
      .addString("productID", question.productID)
      .addString("servicePackID", question.servicePackID)
      .addJSON("actions", actionsAsJSON(question.actions))
      .addJSON("actionsBefore",
               question.actionsBefore ? actionsAsJSON(*question.actionsBefore) : "null")
      .done();
}

JSONObject& addAnswer(JSONObject& object, const FleetAnswer& answer) {
  const auto orNull = [](const std::string& value) {
    return value.empty() ? "null" : FileCodec::jsonString(value);
  };
  return object.addString("outcome", answer.outcome)
      .addJSON("code", orNull(answer.action))
      .addJSON("action", orNull(answer.action.empty() ? std::string()
                                                      : describe(vexlo::ActionID(answer.action))))
      .addJSON("reason", orNull(answer.reason));
}

std::string answerAsJSON(const FleetAnswer& answer) {
  JSONObject object;
  return addAnswer(object, answer).done();
}

// Reading

std::uint64_t takeCount(const JSONValue& value, const JSONPlace& place) {
  const std::int64_t count = takeInteger(value, place);
  if (count < 0) {
    reject(value, place, "a count");
  }
  return static_cast<std::uint64_t>(count);
}

std::vector<FleetAction> takeActions(const JSONValue& value, const JSONPlace& place) {
  std::vector<FleetAction> actions;
  takeElements(value, place, [&](const JSONValue& element, const JSONPlace& elementPlace) {
    FleetAction& action = actions.emplace_back();
    takeMembers(element, elementPlace,
                [&](std::string_view name, const JSONValue& member, const JSONPlace& memberPlace) {
                  if (name == "code") {
                    action.code = takeString(member, memberPlace);
                  } else if (name == "arguments") {
                    takeElements(
                        member, memberPlace,
                        [&](const JSONValue& argument, const JSONPlace& argumentPlace) {
                          action.arguments.emplace_back(takeString(argument, argumentPlace));
                        });
                  }
                });
  });
  return actions;
}

FleetQuestion takeQuestion(const JSONValue& value, const JSONPlace& place) {
  FleetQuestion question;
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const JSONPlace& memberPlace) {
                if (name == "patchID") {
                  question.patchID = takeString(member, memberPlace);
                } else if (name == "productID") {
                  question.productID = takeString(member, memberPlace);
                } else if (name == "servicePackID") {
                  question.servicePackID = takeString(member, memberPlace);
                } else if (name == "actions") {
                  question.actions = takeActions(member, memberPlace);
                } else if (name == "actionsBefore" && !member.isNull()) {
                  question.actionsBefore = takeActions(member, memberPlace);
                }
              });
  return question;
}

/// Takes the member if it belongs to an answer.
void takeOfAnswer(std::string_view name, const JSONValue& value, const JSONPlace& place,
                  FleetAnswerView& answer) {
  if (name == "outcome") {
    answer.outcome = takeString(value, place);
  } else if (name == "code") {
    answer.action = takeOptionalString(value, place).value_or("");
  } else if (name == "reason") {
    answer.reason = takeOptionalString(value, place).value_or("");
  }
}

FleetAnswerView takeAnswer(const JSONValue& value, const JSONPlace& place) {
  FleetAnswerView answer;
  takeMembers(value, place,
              [&](std::string_view name, const JSONValue& member, const JSONPlace& memberPlace) {
                takeOfAnswer(name, member, memberPlace, answer);
              });
  return answer;
}

/// Reads an array of objects whose member "machines" is a count. For each, calls
/// `takeOther(name, value, place)` for the other members, then `add(machines)`.
template <typename TakeOther, typename Add>
void takeRows(const JSONValue& value, const JSONPlace& place, const TakeOther& takeOther,
              const Add& add) {
  takeElements(value, place, [&](const JSONValue& element, const JSONPlace& elementPlace) {
    std::uint64_t machines = 0;
    takeMembers(element, elementPlace,
                [&](std::string_view name, const JSONValue& member, const JSONPlace& memberPlace) {
                  if (name == "machines") {
                    machines = takeCount(member, memberPlace);
                  } else {
                    takeOther(name, member, memberPlace);
                  }
                });
    add(machines);
  });
}

bool takeProcessor(const JSONValue& value, const JSONPlace& place) {
  const std::string_view processor = takeString(value, place);
  if (processor != kAppleSilicon && processor != kIntel) {
    reject(value, place, R"("apple-silicon" or "intel")");
  }
  return processor == kAppleSilicon;
}

void takeCounts(const JSONValue& value, const JSONPlace& place, FleetSummary& summary) {
  FleetAnswerView answer;
  MachineKind kind;
  takeRows(
      value, place,
      [&](std::string_view name, const JSONValue& member, const JSONPlace& memberPlace) {
        if (name == "macOS") {
          kind.macOS = member.isNull() ? 0 : takeInteger(member, memberPlace);
        } else if (name == "processor") {
          kind.isAppleSilicon = takeProcessor(member, memberPlace);
        } else {
          takeOfAnswer(name, member, memberPlace, answer);
        }
      },
      [&](std::uint64_t machines) {
        summary.add(std::exchange(answer, {}), std::exchange(kind, {}), machines);
      });
}

void takeMoves(const JSONValue& value, const JSONPlace& place, FleetSummary& summary) {
  FleetAnswerView from;
  FleetAnswerView to;
  takeRows(
      value, place,
      [&](std::string_view name, const JSONValue& member, const JSONPlace& memberPlace) {
        if (name == "from") {
          from = takeAnswer(member, memberPlace);
        } else if (name == "to") {
          to = takeAnswer(member, memberPlace);
        }
      },
      [&](std::uint64_t machines) {
        summary.addMove(std::exchange(from, {}), std::exchange(to, {}), machines);
      });
}

FleetSummary takeSummary(const JSONValue& line) {
  const auto member = [&](std::string_view name) -> const JSONValue& {
    const JSONValue* const found = line.find(name);
    if (found == nullptr) {
      throw DecodingError({}, {}, text("an object with the member \"", name, '"'),
                          describeFound(line));
    }
    return *found;
  };
  const auto placeOf = [](std::string_view name) { return JSONPlace{.member = name}; };
  const JSONValue& version = member("fleetSummary");
  if (version.integer() != kSummaryVersion) {
    reject(version, placeOf("fleetSummary"), text("the version ", kSummaryVersion));
  }
  const JSONValue& question = member("patch");
  FleetSummary summary =
      question.isNull() ? FleetSummary() : FleetSummary(takeQuestion(question, placeOf("patch")));
  summary.addBadLines(takeCount(member("badLines"), placeOf("badLines")));
  takeCounts(member("counts"), placeOf("counts"), summary);
  takeMoves(member("moves"), placeOf("moves"), summary);
  return summary;
}

}  // namespace

void FleetSummary::add(const FleetAnswerView& answer, const MachineKind& kind,
                       std::uint64_t machines) {
  if (machines == 0) {
    return;
  }
  auto counts = answers_.find(answer);
  if (counts == answers_.end()) {
    counts = answers_.emplace(owned(answer), Counts()).first;
  }
  MachineKind known = kind;
  if (known.macOS < 0 || known.macOS > kHighestMajorVersion) {
    known.macOS = 0;
  }
  increase(counts->second[known], machines);
  increase(machines_, machines);
}

void FleetSummary::addMove(const FleetAnswerView& from, const FleetAnswerView& to,
                           std::uint64_t machines) {
  if (machines > 0) {
    increase(moves_[{owned(from), owned(to)}], machines);
  }
}

void FleetSummary::addBadLines(std::uint64_t lines) { increase(badLines_, lines); }

bool FleetSummary::merge(const FleetSummary& other) {
  if (question_ && other.question_ && *question_ != *other.question_) {
    return false;
  }
  if (!question_) {
    question_ = other.question_;
  }
  for (const auto& [answer, counts] : other.answers_) {
    for (const auto& [kind, machines] : counts) {
      add(Less::view(answer), kind, machines);
    }
  }
  for (const auto& [move, machines] : other.moves_) {
    addMove(Less::view(move.first), Less::view(move.second), machines);
  }
  addBadLines(other.badLines_);
  return true;
}

std::string asJSON(const FleetSummary& summary) {
  std::vector<std::string> all;
  for (const auto& [answer, counts] : summary.answers()) {
    for (const auto& [kind, machines] : counts) {
      JSONObject row;
      all.push_back(addAnswer(row, answer)
                        .addJSON("macOS", kind.macOS == 0 ? "null" : text(kind.macOS))
                        .addString("processor", kind.isAppleSilicon ? kAppleSilicon : kIntel)
                        .addJSON("machines", text(machines))
                        .done());
    }
  }
  std::vector<std::string> moves;
  for (const auto& [move, machines] : summary.moves()) {
    moves.push_back(JSONObject()
                        .addJSON("from", answerAsJSON(move.first))
                        .addJSON("to", answerAsJSON(move.second))
                        .addJSON("machines", text(machines))
                        .done());
  }
  return JSONObject()
             .addJSON("fleetSummary", text(kSummaryVersion))
             .addJSON("patch", summary.question().transform(questionAsJSON).value_or("null"))
             .addJSON("machines", text(summary.machines()))
             .addJSON("badLines", text(summary.badLines()))
             .addJSON("counts", jsonArray(all))
             .addJSON("moves", jsonArray(moves))
             .done() +
         '\n';
}

std::expected<FleetSummary, DecodingError> summaryFromJSON(std::string_view line) {
  CompactJSON document;
  const JSONValue* const root = document.read(line);
  if (root == nullptr) {
    return std::unexpected(whyNoJSON(line));
  }
  try {
    return takeSummary(*root);
  } catch (DecodingError& error) {
    return std::unexpected(std::move(error));
  }
}

}  // namespace agent_tool
