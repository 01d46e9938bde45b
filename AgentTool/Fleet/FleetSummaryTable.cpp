#include "AgentTool/Fleet/FleetSummaryTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <ranges>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/LogCore/Text.h"
#include "AgentTool/Console/Columns.h"
#include "AgentTool/Console/PrintableText.h"
#include "AgentTool/Evaluation/Prediction.h"
#include "Platform/RealNumbers.h"
#include "VexloPatchDeployment/Common/ActionID.h"

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

std::string percent(double share) { return platform::decimalText(share * 100, 1) + " %"; }

std::string rightAligned(std::string text, std::size_t width) {
  text.insert(0, width - std::min(width, text.size()), ' ');
  return text;
}

/// Rows of labels with a count, its share and a bar.
class CountTable {
 public:
  explicit CountTable(std::vector<std::string> headings, std::string shareHeading = "SHARE")
      : headings_(std::move(headings)), shareHeading_(std::move(shareHeading)) {}

  void add(std::vector<Cell> texts, std::uint64_t count, double share, Style bar) {
    rows_.push_back({std::move(texts), grouped(count), percent(share), barOf(share), bar});
  }

  [[nodiscard]] std::string text(const Console& console) const {
    if (rows_.empty()) {
      return {};
    }
    constexpr std::string_view kMachines = "MACHINES";
    constexpr std::size_t kShareWidth = std::string_view("100.0 %").size();
    std::size_t countWidth = kMachines.size();
    for (const Row& row : rows_) {
      countWidth = std::max(countWidth, row.count.size());
    }
    std::vector<std::string> headings = headings_;
    headings.push_back(rightAligned(std::string(kMachines), countWidth));
    headings.push_back(rightAligned(shareHeading_, kShareWidth));
    headings.emplace_back();
    std::vector<std::vector<Cell>> cells;
    for (const Row& row : rows_) {
      std::vector<Cell>& line = cells.emplace_back(row.texts);
      line.push_back({rightAligned(row.count, countWidth)});
      line.push_back({rightAligned(row.share, kShareWidth)});
      line.push_back({row.bar, row.style});
    }
    return '\n' + tableText(console, headings, cells);
  }

 private:
  struct Row {
    std::vector<Cell> texts;
    std::string count;
    std::string share;
    std::string bar;
    Style style;
  };
  std::vector<std::string> headings_;
  std::string shareHeading_;
  std::vector<Row> rows_;
};

std::uint64_t sum(const FleetSummary::Counts& counts) {
  std::uint64_t total = 0;
  for (const auto& [kind, machines] : counts) {
    total += std::min(machines, FleetSummary::kMostMachines - total);
  }
  return total;
}

std::string nameOf(const FleetPrediction& prediction) {
  return prediction.code.empty() ? std::string() : describe(vexlo::ActionID(prediction.code));
}

std::string inMachines(std::uint64_t count) {
  return text(grouped(count), count == 1 ? " machine" : " machines");
}

/// By descending count, then by what is counted.
constexpr auto mostFirst = [](const auto& left, const auto& right) {
  return left.second != right.second ? left.second > right.second : *left.first < *right.first;
};

std::string outcomes(const FleetSummary& summary, const Console& console) {
  std::map<Prediction, std::uint64_t> byOutcome{{Prediction::success, 0}};
  std::map<std::pair<std::string, Prediction>, std::uint64_t> acted;
  for (const auto& [prediction, counts] : summary.predictions()) {
    byOutcome[prediction.outcome] += sum(counts);
    for (const Acted& each : prediction.acted) {
      acted[{each.code, each.outcome}] += sum(counts);
    }
  }
  std::vector<std::pair<Prediction, std::uint64_t>> rows(byOutcome.begin(), byOutcome.end());
  std::ranges::sort(
      rows, {}, [](const auto& row) { return std::pair(verdictOn(row.first).verdict, row.first); });
  CountTable table({"OUTCOME"});
  for (const auto& [outcome, machines] : rows) {
    table.add({{std::string(name(outcome)), verdictOn(outcome).style}}, machines,
              shareOf(machines, summary.machines()), verdictOn(outcome).style);
  }
  std::string out = table.text(console);
  for (const auto& [act, machines] : acted) {
    const auto& [code, outcome] = act;
    out += console.styled(
        text(inMachines(machines), ' ', rowOf(outcome).act, " (", printable(code), ") first\n"),
        Style::waiting);
  }
  return out;
}

/// A prediction in a table: «applyLater, after 2007 wouldRun».
std::string shown(const FleetPrediction& prediction) {
  std::string out = prediction.reason.empty() ? std::string(name(prediction.outcome))
                                              : printable(prediction.reason);
  for (const Acted& each : prediction.acted) {
    out += text(&each == &prediction.acted.front() ? ", after " : ", ", printable(each.code), ' ',
                name(each.outcome));
  }
  return out;
}

std::string reasons(const FleetSummary& summary, const Console& console) {
  CountTable table({"CODE", "ACTION", "WHY"});
  std::vector<std::pair<const FleetPrediction*, std::uint64_t>> rows;
  for (const auto& [prediction, counts] : summary.predictions()) {
    if (!prediction.code.empty()) {
      rows.emplace_back(&prediction, sum(counts));
    }
  }
  std::ranges::sort(rows, mostFirst);
  for (const auto& [prediction, machines] : rows) {
    table.add(
        {{printable(prediction->code)}, {printable(nameOf(*prediction))}, {shown(*prediction)}},
        machines, shareOf(machines, summary.machines()), verdictOn(prediction->outcome).style);
  }
  return table.text(console);
}

/// The number of machines of each kind and the share that is ready.
std::string kinds(const FleetSummary& summary, const Console& console) {
  struct Tally {
    std::uint64_t machines = 0;
    std::uint64_t ready = 0;
  };
  std::map<MachineKind, Tally> tallies;
  for (const auto& [prediction, counts] : summary.predictions()) {
    for (const auto& [kind, machines] : counts) {
      tallies[kind].machines += machines;
      tallies[kind].ready += verdictOn(prediction.outcome).verdict == Verdict::ready ? machines : 0;
    }
  }
  CountTable table({"UPDATE", "MACOS", "PROCESSOR"}, "READY");
  for (const auto& [kind, tally] : tallies | std::views::reverse) {  // the newest first
    table.add({{std::string(rowOf(kind.update).words)},
               {kind.macOS == 0 ? std::string("unknown") : text("macOS ", kind.macOS)},
               {kind.processor == Processor::appleSilicon ? "Apple silicon" : "Intel"}},
              tally.machines, shareOf(tally.ready, tally.machines), Style::good);
  }
  return table.text(console);
}

/// What the words of the other tables mean.
std::string legend(const FleetSummary& summary, const Console& console) {
  std::vector<std::vector<Cell>> rows{
      {{"READY"}, {"no action stops the patch, as far as can be known beforehand"}}};
  for (const PredictionRow& row : kPredictions) {
    if (std::ranges::any_of(summary.predictions(), [&](const auto& entry) {
          return entry.first.outcome == row.prediction ||
                 std::ranges::count(entry.first.acted, row.prediction, &Acted::outcome) > 0;
        })) {
      rows.push_back({{std::string(row.name)}, {std::string(row.meaning)}});
    }
  }
  for (const UpdateRow& row : kUpdates | std::views::reverse) {
    if (std::ranges::any_of(summary.predictions(), [&](const auto& entry) {
          return std::ranges::any_of(
              entry.second, [&](const auto& count) { return count.first.update == row.update; });
        })) {
      rows.push_back({{std::string(row.words)}, {std::string(row.meaning)}});
    }
  }
  return '\n' + tableText(console, {"WORD", "MEANING"}, rows);
}

std::string movedTo(const FleetPrediction& prediction) {
  return prediction.code.empty() ? shown(prediction)
                                 : text(printable(prediction.code), ' ', shown(prediction));
}

std::string moves(const FleetSummary& summary, const Console& console) {
  const auto& question = summary.question();
  if (!question || !question->actionsBefore) {
    return {};
  }
  if (summary.moves().empty()) {
    return "\nNo machine's result has changed.\n";
  }
  CountTable table({"BEFORE", "NOW"});
  std::vector<std::pair<const FleetSummary::Moves::key_type*, std::uint64_t>> rows;
  for (const auto& [move, machines] : summary.moves()) {
    rows.emplace_back(&move, machines);
  }
  std::ranges::sort(rows, mostFirst);
  for (const auto& [move, machines] : rows) {
    table.add({{movedTo(move->first), verdictOn(move->first.outcome).style},
               {movedTo(move->second), verdictOn(move->second.outcome).style}},
              machines, shareOf(machines, summary.machines()),
              verdictOn(move->second.outcome).style);
  }
  return table.text(console);
}

}  // namespace

std::string grouped(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) {
    at -= 3;
    digits.insert(at, 1, ',');
  }
  return digits;
}

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
