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

// The JSON form

template <typename Counted>
struct Row : Counted {
  std::uint64_t machines = 0;
};
using GroupRow = Row<MachineGroup>;
using MoveRow = Row<Move>;

template <typename Counted>
std::vector<Row<Counted>> rowsOf(const std::map<Counted, std::uint64_t>& counts) {
  std::vector<Row<Counted>> rows;
  rows.reserve(counts.size());
  for (const auto& [counted, machines] : counts) {
    rows.push_back({counted, machines});
  }
  return rows;
}

struct SummaryDocument {
  std::optional<FleetQuestion> patch;
  std::uint64_t machines = 0;
  std::uint64_t badLines = 0;
  std::vector<GroupRow> counts;
  std::vector<MoveRow> moves;
};

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
  static constexpr auto code = field<&FleetPrediction::code, Row>("code");
  static constexpr JSONField<Row> action{
      .name = "action", .write = [](const Row& row) { return asJSON(actionNameOf(row)); }};
  static constexpr auto reason = field<&FleetPrediction::reason, Row>("reason");
  static constexpr auto acted = field<&FleetPrediction::acted, Row>("acted");
};

template <>
struct JSONFields<FleetPrediction> : PredictionFields<FleetPrediction> {
  static constexpr std::array list{outcome, code, action, reason, acted};
};

template <>
struct JSONFields<GroupRow> : PredictionFields<GroupRow> {
  static constexpr std::array list{outcome,
                                   code,
                                   action,
                                   reason,
                                   acted,
                                   field<&MachineKind::update, GroupRow>("update"),
                                   field<&MachineKind::macOS, GroupRow>("macOS"),
                                   field<&MachineKind::processor, GroupRow>("processor"),
                                   field<&GroupRow::machines>("machines")};
};

template <>
struct JSONFields<MoveRow> {
  static constexpr std::array list{field<&Move::from, MoveRow>("from"),
                                   field<&Move::to, MoveRow>("to"),
                                   field<&MoveRow::machines>("machines")};
};

template <>
struct JSONFields<SummaryDocument> {
  static constexpr std::array list{formatVersion<SummaryDocument, 1>("fleetSummary"),
                                   field<&SummaryDocument::patch>("patch"),
                                   needed(field<&SummaryDocument::machines>("machines")),
                                   needed(field<&SummaryDocument::badLines>("badLines")),
                                   needed(field<&SummaryDocument::counts>("counts")),
                                   needed(field<&SummaryDocument::moves>("moves"))};
};

std::optional<std::string> actionNameOf(const FleetPrediction& prediction) {
  return prediction.code.transform(
      [](const auto& code) { return describe(vexlo::ActionID(code)); });
}

void FleetSummary::increase(std::uint64_t& sum, std::uint64_t by) {
  // Neither exceeds the limit, so the sum fits.
  sum = std::min(sum + std::min(by, kMostMachines), kMostMachines);
}

void FleetSummary::add(const FleetPrediction& prediction, const MachineKind& kind,
                       std::uint64_t machines) {
  if (machines == 0) {
    return;
  }
  MachineGroup group{prediction, kind};
  if (group.macOS < 1 || group.macOS > kHighestMajorVersion) {
    group.macOS.reset();
  }
  increase(groups_[std::move(group)], machines);
  increase(machines_, machines);
}

void FleetSummary::addMove(const Move& move, std::uint64_t machines) {
  if (machines > 0) {
    increase(moves_[move], machines);
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
  for (const auto& [group, machines] : other.groups_) {
    add(group, group, machines);
  }
  for (const auto& [move, machines] : other.moves_) {
    addMove(move, machines);
  }
  addBadLines(other.badLines_);
  return true;
}

std::string asJSON(const FleetSummary& summary) {
  const SummaryDocument document{.patch = summary.question(),
                                 .machines = summary.machines(),
                                 .badLines = summary.badLines(),
                                 .counts = rowsOf(summary.groups()),
                                 .moves = rowsOf(summary.moves())};
  return asJSON(document) + '\n';
}

std::expected<FleetSummary, DecodingError> summaryFromJSON(std::string_view line) {
  JSONDocument reader;
  SummaryDocument document;
  if (auto read = readDocument(reader, line, document); !read) {
    return std::unexpected(std::move(read).error());
  }
  FleetSummary summary = document.patch ? FleetSummary(*std::move(document.patch)) : FleetSummary();
  summary.addBadLines(document.badLines);
  for (const GroupRow& row : document.counts) {
    summary.add(row, row, row.machines);
  }
  std::uint64_t moved = 0;
  for (const MoveRow& row : document.moves) {
    summary.addMove(row, row.machines);
    FleetSummary::increase(moved, row.machines);
  }
  if (document.machines != summary.machines()) {
    return std::unexpected(DecodingError({}, "machines",
                                         text("the sum of the counts, ", summary.machines()),
                                         text(document.machines)));
  }
  if (moved > summary.machines()) {
    return std::unexpected(
        DecodingError({}, "moves", text("at most ", summary.machines(), " machines"), text(moved)));
  }
  return summary;
}

}  // namespace agent_tool
