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

std::string owned(std::string_view text) { return std::string(text); }
FleetPrediction owned(const FleetPredictionView& prediction) {
  return {prediction.outcome, owned(prediction.action), owned(prediction.reason),
          owned(prediction.acted)};
}

// The JSON form

std::optional<std::string> orNull(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}
std::string nameOfAction(const std::string& code) { return describe(vexlo::ActionID(code)); }

struct PredictionDocument {
  Prediction outcome = Prediction::success;
  std::optional<std::string> code;
  std::optional<std::string> action;
  std::optional<std::string> reason;
  std::vector<Acted> acted;

  PredictionDocument() = default;
  explicit PredictionDocument(const FleetPrediction& prediction)
      : outcome(prediction.outcome),
        code(orNull(prediction.action)),
        action(code.transform(nameOfAction)),
        reason(orNull(prediction.reason)),
        acted(separated(prediction.acted)) {
    for (Acted& each : acted) {
      each.action = nameOfAction(each.code);
    }
  }
  [[nodiscard]] FleetPrediction prediction() const {
    return {outcome, code.value_or(""), reason.value_or(""), joined(acted)};
  }
};

enum class Processor : std::uint8_t { appleSilicon, intel };

struct CountDocument : PredictionDocument {
  Update update = Update::unknown;
  std::optional<std::int64_t> macOS;
  Processor processor = Processor::intel;
  std::uint64_t machines = 0;
};

struct MoveDocument {
  PredictionDocument from;
  PredictionDocument to;
  std::uint64_t machines = 0;
};

struct SummaryDocument {
  FormatVersion<1> version;
  std::optional<FleetQuestion> patch;
  std::uint64_t machines = 0;
  std::uint64_t badLines = 0;
  std::vector<CountDocument> counts;
  std::vector<MoveDocument> moves;
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

template <typename Document>
  requires std::derived_from<Document, PredictionDocument>
struct PredictionFields {
  static constexpr auto outcome = needed(field<&PredictionDocument::outcome, Document>("outcome"));
  static constexpr auto code = field<&PredictionDocument::code, Document>("code");
  static constexpr auto action =
      informative(field<&PredictionDocument::action, Document>("action"));
  static constexpr auto reason = field<&PredictionDocument::reason, Document>("reason");
  static constexpr auto acted = field<&PredictionDocument::acted, Document>("acted");
};

template <>
struct JSONFields<PredictionDocument> : PredictionFields<PredictionDocument> {
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
struct JSONFields<CountDocument> : PredictionFields<CountDocument> {
  static constexpr std::array list{outcome,
                                   code,
                                   action,
                                   reason,
                                   acted,
                                   field<&CountDocument::update>("update"),
                                   field<&CountDocument::macOS>("macOS"),
                                   field<&CountDocument::processor>("processor"),
                                   field<&CountDocument::machines>("machines")};
};

template <>
struct JSONFields<MoveDocument> {
  static constexpr std::array list{field<&MoveDocument::from>("from"),
                                   field<&MoveDocument::to>("to"),
                                   field<&MoveDocument::machines>("machines")};
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

std::string joined(const std::vector<Acted>& acted) {
  std::string out;
  for (const Acted& each : acted) {
    out += text(out.empty() ? "" : ", ", each.code, ' ', name(each.outcome));
  }
  return out;
}

std::vector<Acted> separated(std::string_view acted) {
  std::vector<Acted> out;
  for (const PredictionRow* row = nullptr; !acted.empty();) {
    const std::size_t blank = acted.find(' ');
    const std::string_view outcome = acted.substr(blank + 1, acted.find(',') - blank - 1);
    row = std::ranges::find(kPredictions, outcome, &PredictionRow::name);
    out.push_back(
        {.code = owned(acted.substr(0, blank)), .action = {}, .outcome = row->prediction});
    acted.remove_prefix(std::min(blank + outcome.size() + 3, acted.size()));
  }
  return out;
}

void FleetSummary::add(const FleetPredictionView& prediction, const MachineKind& kind,
                       std::uint64_t machines) {
  if (machines == 0) {
    return;
  }
  auto counts = predictions_.find(prediction);
  if (counts == predictions_.end()) {
    counts = predictions_.emplace(owned(prediction), Counts()).first;
  }
  MachineKind known = kind;
  if (known.macOS < 0 || known.macOS > kHighestMajorVersion) {
    known.macOS = 0;
  }
  increase(counts->second[known], machines);
  increase(machines_, machines);
}

void FleetSummary::addMove(const FleetPredictionView& from, const FleetPredictionView& to,
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
  for (const auto& [prediction, counts] : other.predictions_) {
    for (const auto& [kind, machines] : counts) {
      add(Less::view(prediction), kind, machines);
    }
  }
  for (const auto& [move, machines] : other.moves_) {
    addMove(Less::view(move.first), Less::view(move.second), machines);
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
      CountDocument& row = document.counts.emplace_back(PredictionDocument(prediction));
      row.update = kind.update;
      row.macOS = kind.macOS == 0 ? std::nullopt : std::optional(kind.macOS);
      row.processor = kind.isAppleSilicon ? Processor::appleSilicon : Processor::intel;
      row.machines = machines;
    }
  }
  for (const auto& [move, machines] : summary.moves()) {
    document.moves.push_back({.from = PredictionDocument(move.first),
                              .to = PredictionDocument(move.second),
                              .machines = machines});
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
  for (const CountDocument& row : document.counts) {
    summary.add(FleetSummary::Less::view(row.prediction()),
                {.update = row.update,
                 .macOS = row.macOS.value_or(0),
                 .isAppleSilicon = row.processor == Processor::appleSilicon},
                row.machines);
  }
  for (const MoveDocument& row : document.moves) {
    summary.addMove(FleetSummary::Less::view(row.from.prediction()),
                    FleetSummary::Less::view(row.to.prediction()), row.machines);
  }
  if (document.machines != summary.machines()) {
    return std::unexpected(DecodingError({}, "machines",
                                         text("the sum of the counts, ", summary.machines()),
                                         text(document.machines)));
  }
  return summary;
}

}  // namespace agent_tool
