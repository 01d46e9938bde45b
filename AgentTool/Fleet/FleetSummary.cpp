#include "AgentTool/Fleet/FleetSummary.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <utility>

#include "AgentTool/JSON/JSONFields.h"
#include "VexloPatchDeployment/Common/ActionID.h"

namespace agent_tool {
namespace {

using FileCodec::DecodingError;

constexpr std::int64_t kHighestMajorVersion = 99;

void increase(std::uint64_t& sum, std::uint64_t by) {
  // Neither exceeds the limit, so the sum fits.
  sum = std::min(sum + std::min(by, FleetSummary::kMostMachines), FleetSummary::kMostMachines);
}

std::string owned(std::string_view text) { return std::string(text); }
FleetAnswer owned(const FleetAnswerView& answer) {
  return {owned(answer.outcome), owned(answer.action), owned(answer.reason)};
}

// The JSON form

std::optional<std::string> orNull(const std::string& text) {
  return text.empty() ? std::nullopt : std::optional(text);
}

struct AnswerDocument {
  std::string outcome;
  std::optional<std::string> code;
  std::optional<std::string> action;
  std::optional<std::string> reason;

  AnswerDocument() = default;
  explicit AnswerDocument(const FleetAnswer& answer)
      : outcome(answer.outcome), code(orNull(answer.action)), reason(orNull(answer.reason)) {
    action =
        code.transform([](const std::string& text) { return describe(vexlo::ActionID(text)); });
  }
  [[nodiscard]] FleetAnswerView answer() const {
    return {outcome, code ? std::string_view(*code) : "", reason ? std::string_view(*reason) : ""};
  }
};

enum class Processor : std::uint8_t { appleSilicon, intel };

struct CountDocument : AnswerDocument {
  std::optional<std::int64_t> macOS;
  Processor processor = Processor::intel;
  std::uint64_t machines = 0;
};

struct MoveDocument {
  AnswerDocument from;
  AnswerDocument to;
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
  requires std::derived_from<Document, AnswerDocument>
struct AnswerFields {
  static constexpr auto outcome = field<&AnswerDocument::outcome, Document>("outcome");
  static constexpr auto code = field<&AnswerDocument::code, Document>("code");
  static constexpr auto action = informative(field<&AnswerDocument::action, Document>("action"));
  static constexpr auto reason = field<&AnswerDocument::reason, Document>("reason");
};

template <>
struct JSONFields<AnswerDocument> : AnswerFields<AnswerDocument> {
  static constexpr std::array list{outcome, code, action, reason};
};

template <>
struct JSONNames<Processor> {
  static constexpr std::array list{
      std::pair{Processor::appleSilicon, std::string_view("apple-silicon")},
      std::pair{Processor::intel, std::string_view("intel")}};
};

template <>
struct JSONFields<CountDocument> : AnswerFields<CountDocument> {
  static constexpr std::array list{outcome,
                                   code,
                                   action,
                                   reason,
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
                                   informative(field<&SummaryDocument::machines>("machines")),
                                   needed(field<&SummaryDocument::badLines>("badLines")),
                                   needed(field<&SummaryDocument::counts>("counts")),
                                   needed(field<&SummaryDocument::moves>("moves"))};
};

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
  SummaryDocument document{.version = {},
                           .patch = summary.question(),
                           .machines = summary.machines(),
                           .badLines = summary.badLines(),
                           .counts = {},
                           .moves = {}};
  for (const auto& [answer, counts] : summary.answers()) {
    for (const auto& [kind, machines] : counts) {
      CountDocument& row = document.counts.emplace_back(AnswerDocument(answer));
      row.macOS = kind.macOS == 0 ? std::nullopt : std::optional(kind.macOS);
      row.processor = kind.isAppleSilicon ? Processor::appleSilicon : Processor::intel;
      row.machines = machines;
    }
  }
  for (const auto& [move, machines] : summary.moves()) {
    document.moves.push_back({.from = AnswerDocument(move.first),
                              .to = AnswerDocument(move.second),
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
    summary.add(row.answer(),
                {.macOS = row.macOS.value_or(0),
                 .isAppleSilicon = row.processor == Processor::appleSilicon},
                row.machines);
  }
  for (const MoveDocument& row : document.moves) {
    summary.addMove(row.from.answer(), row.to.answer(), row.machines);
  }
  return summary;
}

}  // namespace agent_tool
