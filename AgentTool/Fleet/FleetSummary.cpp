#include "AgentTool/Fleet/FleetSummary.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <utility>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/JSON/JSONFields.h"
#include "VexloPatchDeployment/Common/ActionID.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;
using LogCore::text;

constexpr std::int64_t kHighestMajorVersion = 99;

void increase(std::uint64_t& sum, std::uint64_t by) {
  // Neither exceeds the limit, so the sum fits.
  sum = std::min(sum + std::min(by, FleetSummary::kMostMachines), FleetSummary::kMostMachines);
}

// The JSON form

struct CountRow : FleetPrediction, MachineKind {
  std::uint64_t machines = 0;
};

struct MoveRow {
  FleetPrediction from;
  FleetPrediction to;
  std::uint64_t machines = 0;
};

struct SummaryDocument {
  FormatVersion<1> version;
  std::optional<FleetQuestion> patch;
  std::uint64_t machines = 0;
  std::uint64_t badLines = 0;
  std::vector<CountRow> counts;
  std::vector<MoveRow> moves;
};

/// A field whose default is null in JSON.
template <auto member, typename Record>
constexpr JSONField<Record> fieldOrNull(std::string_view name) {
  using Value = decltype(memberOf(member))::value;
  JSONField<Record> result = field<member, Record>(name);
  result.read = [](const JSONValue& value, const JSONPlace& place, Record& record) {
    std::optional<Value> read;
    readValue(value, place, read);
    record.*member = std::move(read).value_or(Value());
  };
  result.write = [](const Record& record) {
    return record.*member == Value() ? std::string("null") : asJSON(record.*member);
  };
  return result;
}

}  // namespace

template <>
struct JSONFields<FleetAction> {
  static constexpr std::array list{field<&FleetAction::code>("code"),
                                   field<&FleetAction::arguments>("arguments")};
};

template <>
struct JSONFields<FleetQuestion> {
  static constexpr std::array list{field<&FleetQuestion::patchID>("patchID"),
                                   field<&FleetQuestion::productID>("productID"),
                                   field<&FleetQuestion::servicePackID>("servicePackID"),
                                   field<&FleetQuestion::actions>("actions"),
                                   field<&FleetQuestion::actionsBefore>("actionsBefore")};
};

/// Of a prediction, or of a row that begins with one.
template <std::derived_from<FleetPrediction> Row>
struct PredictionFields {
  static constexpr auto outcome = needed(field<&FleetPrediction::outcome, Row>("outcome"));
  static constexpr auto code = fieldOrNull<&FleetPrediction::code, Row>("code");
  static constexpr JSONField<Row> action{
      .name = "action", .write = [](const Row& row) {
        return row.code.empty() ? "null" : asJSON(describe(vexlo::ActionID(row.code)));
      }};
  static constexpr auto reason = fieldOrNull<&FleetPrediction::reason, Row>("reason");
  static constexpr auto acted = field<&FleetPrediction::acted, Row>("acted");
};

template <>
struct JSONFields<FleetPrediction> : PredictionFields<FleetPrediction> {
  static constexpr std::array list{outcome, code, action, reason, acted};
};

template <>
struct JSONNames<Update> {
  static constexpr auto list = [] {
    std::array<std::pair<Update, std::string_view>, kUpdates.size()> names;
    std::ranges::transform(kUpdates, names.begin(),
                           [](const UpdateRow& row) { return std::pair(row.update, row.name); });
    return names;
  }();
};

template <>
struct JSONNames<Processor> {
  static constexpr std::array list{
      std::pair{Processor::appleSilicon, std::string_view("apple-silicon")},
      std::pair{Processor::intel, std::string_view("intel")}};
};

template <>
struct JSONFields<CountRow> : PredictionFields<CountRow> {
  static constexpr std::array list{outcome,
                                   code,
                                   action,
                                   reason,
                                   acted,
                                   field<&MachineKind::update, CountRow>("update"),
                                   fieldOrNull<&MachineKind::macOS, CountRow>("macOS"),
                                   field<&MachineKind::processor, CountRow>("processor"),
                                   field<&CountRow::machines>("machines")};
};

template <>
struct JSONFields<MoveRow> {
  static constexpr std::array list{field<&MoveRow::from>("from"), field<&MoveRow::to>("to"),
                                   field<&MoveRow::machines>("machines")};
};

template <>
struct JSONFields<SummaryDocument> {
  static constexpr std::array list{needed(field<&SummaryDocument::version>("fleetSummary")),
                                   field<&SummaryDocument::patch>("patch"),
                                   needed(field<&SummaryDocument::machines>("machines")),
                                   needed(field<&SummaryDocument::badLines>("badLines")),
                                   needed(field<&SummaryDocument::counts>("counts")),
                                   needed(field<&SummaryDocument::moves>("moves"))};
};

void FleetSummary::add(const FleetPrediction& prediction, const MachineKind& kind,
                       std::uint64_t machines) {
  if (machines == 0) {
    return;
  }
  MachineKind known = kind;
  if (known.macOS < 0 || known.macOS > kHighestMajorVersion) {
    known.macOS = 0;
  }
  increase(predictions_[prediction][known], machines);
  increase(machines_, machines);
}

void FleetSummary::addMove(const FleetPrediction& from, const FleetPrediction& to,
                           std::uint64_t machines) {
  if (machines > 0) {
    increase(moves_[{from, to}], machines);
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
  for (const auto& [prediction, counts] : other.predictions_) {
    for (const auto& [kind, machines] : counts) {
      add(prediction, kind, machines);
    }
  }
  for (const auto& [move, machines] : other.moves_) {
    addMove(move.first, move.second, machines);
  }
  addBadLines(other.badLines_);
  return true;
}

std::string asJSON(const FleetSummary& summary) {
  SummaryDocument document{.version = {},
                           .patch = summary.question(),
                           .machines = summary.machines(),
                           .badLines = summary.badLines(),
                           .counts = {},
                           .moves = {}};
  for (const auto& [prediction, counts] : summary.predictions()) {
    for (const auto& [kind, machines] : counts) {
      document.counts.push_back({prediction, kind, machines});
    }
  }
  for (const auto& [move, machines] : summary.moves()) {
    document.moves.push_back({.from = move.first, .to = move.second, .machines = machines});
  }
  return asJSON(document) + '\n';
}

std::expected<FleetSummary, DecodingError> summaryFromJSON(std::string_view line) {
  JSONDocument reader;
  SummaryDocument document;
  if (auto error = readDocument(reader, line, document)) {
    return std::unexpected(*std::move(error));
  }
  FleetSummary summary = document.patch ? FleetSummary(*std::move(document.patch)) : FleetSummary();
  summary.addBadLines(document.badLines);
  for (const CountRow& row : document.counts) {
    summary.add(row, row, row.machines);
  }
  for (const MoveRow& row : document.moves) {
    summary.addMove(row.from, row.to, row.machines);
  }
  if (document.machines != summary.machines()) {
    return std::unexpected(DecodingError({}, "machines",
                                         text("the sum of the counts, ", summary.machines()),
                                         text(document.machines)));
  }
  return summary;
}

}  // namespace agent_tool
