#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <map>
#include <ranges>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Fleet/FleetSummary.h"
#include "Platform/RealNumbers.h"

namespace agent_tool {
namespace {

using LogCore::text;

constexpr std::size_t kBarWidth = 24;

double shareOf(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

/// In eighths of a column; non-zero shares are always visible.
std::string barOf(double share) {
  constexpr std::array<std::string_view, 8> kParts{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const double eighths = share * kBarWidth * 8;
  const auto whole = static_cast<std::size_t>(share > 0 ? std::max(1.0, std::round(eighths)) : 0.0);
  std::string bar;
  for (std::size_t column = 0; column < whole / 8; ++column) {
    bar += "█";
  }
  return bar.append(kParts[whole % 8]);
}

struct TableRow {
  std::vector<Cell> labels;
  std::uint64_t machines = 0;
  double share = 0;
  Style bar = Style::plain;
};

/// The most first; rows of the same count keep their order.
void sortByCount(std::vector<TableRow>& rows) {
  std::multimap<std::uint64_t, TableRow, std::greater<>> sorted;
  for (const TableRow& row : rows) {
    sorted.emplace(row.machines, row);
  }
  std::ranges::move(sorted | std::views::values, rows.begin());
}

/// Empty without rows.
std::string countTable(const Console& console, std::vector<std::string> headings,
                       const std::vector<TableRow>& rows, std::string shareHeading = "SHARE") {
  if (rows.empty()) {
    return {};
  }
  constexpr std::string_view kMachines = "MACHINES";
  constexpr std::size_t kShareWidth = std::string_view("100.0 %").size();
  const std::size_t countWidth = std::max(
      kMachines.size(), grouped(std::ranges::max(rows, {}, &TableRow::machines).machines).size());
  headings.push_back(rightAligned(std::string(kMachines), countWidth));
  headings.push_back(rightAligned(std::move(shareHeading), kShareWidth));
  headings.emplace_back();
  std::vector<std::vector<Cell>> cells;
  for (const auto& [labels, machines, share, bar] : rows) {
    std::vector<Cell>& line = cells.emplace_back(labels);
    line.push_back({rightAligned(grouped(machines), countWidth)});
    line.push_back({rightAligned(platform::decimalText(share * 100, 1) + " %", kShareWidth)});
    line.push_back({barOf(share), bar});
  }
  return '\n' + tableText(console, headings, cells);
}

std::string inMachines(std::uint64_t count) {
  return text(grouped(count), count == 1 ? " machine" : " machines");
}

std::string outcomes(const FleetSummary& summary, const Console& console) {
  std::map<std::pair<Verdict, Prediction>, std::uint64_t> byOutcome{
      {{Verdict::ready, Prediction::success}, 0}};
  std::map<Acted, std::uint64_t> acted;
  for (const auto& [group, machines] : summary.groups()) {
    FleetSummary::increase(byOutcome[{rowOf(group.outcome).verdict, group.outcome}], machines);
    for (const Acted& each : group.acted) {
      FleetSummary::increase(acted[each], machines);
    }
  }
  std::vector<TableRow> rows;
  for (const auto& [key, machines] : byOutcome) {
    const Style style = rowOf(key.first).style;
    rows.push_back({.labels = {{std::string(nameOf(key.second)), style}},
                    .machines = machines,
                    .share = shareOf(machines, summary.machines()),
                    .bar = style});
  }
  std::string out = countTable(console, {"OUTCOME"}, rows);
  for (const auto& [act, machines] : acted) {
    out += console.styled(text(inMachines(machines), ' ', rowOf(act.outcome).act, " (",
                               printable(act.code), ") first\n"),
                          Style::waiting);
  }
  return out;
}

/// A prediction in a table: «applyLater, after 2007 wouldRun».
std::string shown(const FleetPrediction& prediction) {
  std::string out =
      prediction.reason ? printable(*prediction.reason) : std::string(nameOf(prediction.outcome));
  for (const Acted& each : prediction.acted) {
    out += text(&each == &prediction.acted.front() ? ", after " : ", ", printable(each.code), ' ',
                nameOf(each.outcome));
  }
  return out;
}

std::string reasons(const FleetSummary& summary, const Console& console) {
  std::map<FleetPrediction, std::uint64_t> predictions;
  for (const auto& [group, machines] : summary.groups()) {
    FleetSummary::increase(predictions[group], machines);
  }
  std::vector<TableRow> rows;
  for (const auto& [prediction, machines] : predictions) {
    if (prediction.code) {
      rows.push_back({.labels = {{printable(*prediction.code)},
                                 {printable(actionNameOf(prediction).value_or(""))},
                                 {shown(prediction)}},
                      .machines = machines,
                      .share = shareOf(machines, summary.machines()),
                      .bar = verdictOn(prediction.outcome).style});
    }
  }
  sortByCount(rows);
  return countTable(console, {"CODE", "ACTION", "WHY"}, rows);
}

/// The number of machines of each kind and the share that is ready.
std::string kinds(const FleetSummary& summary, const Console& console) {
  struct Tally {
    std::uint64_t machines = 0;
    std::uint64_t ready = 0;
  };
  std::map<MachineKind, Tally> tallies;
  for (const auto& [group, machines] : summary.groups()) {
    Tally& tally = tallies[group];
    FleetSummary::increase(tally.machines, machines);
    if (verdictOn(group.outcome).verdict == Verdict::ready) {
      FleetSummary::increase(tally.ready, machines);
    }
  }
  std::vector<TableRow> rows;
  for (const auto& [kind, tally] : tallies | std::views::reverse) {  // the newest first
    rows.push_back({.labels = {{std::string(rowOf(kind.update).words)},
                               {kind.macOS ? text("macOS ", *kind.macOS) : "unknown"},
                               {kind.processor == Processor::intel ? "Intel" : "Apple silicon"}},
                    .machines = tally.machines,
                    .share = shareOf(tally.ready, tally.machines),
                    .bar = Style::good});
  }
  return countTable(console, {"UPDATE", "MACOS", "PROCESSOR"}, rows, "READY");
}

std::string moves(const FleetSummary& summary, const Console& console) {
  const auto& question = summary.question();
  if (!question || !question->actionsBefore) {
    return {};
  }
  if (summary.moves().empty()) {
    return "\nNo machine's result has changed.\n";
  }
  const auto cell = [](const FleetPrediction& prediction) {
    return Cell{
        prediction.code ? printable(*prediction.code) + ' ' + shown(prediction) : shown(prediction),
        verdictOn(prediction.outcome).style};
  };
  std::vector<TableRow> rows;
  for (const auto& [move, machines] : summary.moves()) {
    rows.push_back({.labels = {cell(move.from), cell(move.to)},
                    .machines = machines,
                    .share = shareOf(machines, summary.machines()),
                    .bar = verdictOn(move.to.outcome).style});
  }
  sortByCount(rows);
  return countTable(console, {"BEFORE", "NOW"}, rows);
}

/// What the words of the other tables mean.
std::string legend(const FleetSummary& summary, const Console& console) {
  std::set<Prediction> predictions;
  std::set<Update> updates;
  for (const auto& [group, machines] : summary.groups()) {
    predictions.insert(group.outcome);
    updates.insert(group.update);
    for (const Acted& each : group.acted) {
      predictions.insert(each.outcome);
    }
  }
  std::vector<std::vector<Cell>> rows{
      {{"READY"}, {"no action stops the patch, as far as can be known beforehand"}}};
  for (const Prediction each : predictions) {
    rows.push_back({{std::string(nameOf(each))}, {std::string(rowOf(each).meaning)}});
  }
  for (const Update each : updates | std::views::reverse) {
    rows.push_back({{std::string(rowOf(each).words)}, {std::string(rowOf(each).meaning)}});
  }
  return '\n' + tableText(console, {"WORD", "MEANING"}, rows);
}

}  // namespace

std::string asTable(const FleetSummary& summary, const Console& console) {
  std::string out;
  if (const auto& question = summary.question()) {
    out =
        text("Patch ", printable(question->patchID), " of product ", printable(question->productID),
             ", service pack ", printable(question->servicePackID), ": ");
  }
  out += inMachines(summary.machines());
  if (summary.badLines() > 0) {
    out += text(", ",
                console.styled(text(grouped(summary.badLines()),
                                    summary.badLines() == 1 ? " bad line" : " bad lines"),
                               Style::bad),
                " left out");
  }
  out += '\n';
  if (summary.machines() == 0) {
    return out;
  }
  return out + outcomes(summary, console) + reasons(summary, console) + kinds(summary, console) +
         moves(summary, console) + legend(summary, console);
}

}  // namespace agent_tool
