// Counts a patch's predicted results on a fleet.
#pragma once
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AgentLibraries/FileCodec/DecodingError.h"
#include "AgentTool/Console/Console.h"
#include "AgentTool/Evaluation/Prediction.h"
#include "AgentTool/JSON/JSONFields.h"
#include "VexloPatchDeployment/Common/PatchIdentifier.h"

namespace agent_tool {

/// The actions of a patch, with their arguments.
struct FleetAction {
  std::string code;
  std::vector<std::string> arguments;
  friend bool operator==(const FleetAction&, const FleetAction&) = default;
};

/// The question that the machines were evaluated for.
struct FleetQuestion {
  std::string patchID;
  std::string productID;
  std::string servicePackID;
  std::vector<FleetAction> actions;
  std::optional<std::vector<FleetAction>> actionsBefore;  ///< Of a comparison.
  friend bool operator==(const FleetQuestion&, const FleetQuestion&) = default;
};

/// What is counted of the prediction for a machine.
struct FleetPrediction {
  Prediction outcome = Prediction::success;
  std::optional<std::string> code;    ///< Of the deciding action; absent if all succeed.
  std::optional<std::string> reason;  ///< The name of its description, if it has one.
  std::vector<Acted> acted;           ///< The actions before it that would change the machine.
  // Older libraries have no <=> for vectors, so `auto` can't be deduced.
  friend std::strong_ordering operator<=>(const FleetPrediction&, const FleetPrediction&) = default;
};

/// The name of the deciding action.
[[nodiscard]] std::optional<std::string> actionNameOf(const FleetPrediction& prediction);

/// How a patch's macOS version relates to a machine's.
enum class Update : std::uint8_t { unknown, alreadyCurrent, notOffered, majorUpgrade, minorUpdate };

struct UpdateRow {
  Update value;
  std::string_view name;
  std::string_view words;
  std::string_view meaning;
};
constexpr std::array kUpdates{
    // in the enumeration's order
    UpdateRow{Update::unknown, "unknown", "unknown",
              "the patch names no macOS version, or the machine's is not known"},
    UpdateRow{Update::alreadyCurrent, "alreadyCurrent", "already current",
              "the machine has the patch's macOS version or a later one"},
    UpdateRow{Update::notOffered, "notOffered", "not offered",
              "Apple's tools don't list the patch's macOS version for the machine"},
    UpdateRow{Update::majorUpgrade, "majorUpgrade", "major upgrade",
              "to a later major version of macOS"},
    UpdateRow{Update::minorUpdate, "minorUpdate", "minor update",
              "within the machine's major version of macOS"},
};
template <>
struct JSONNames<Update> {
  static constexpr const auto& list = kUpdates;
};

enum class Processor : std::uint8_t { intel, appleSilicon };
template <>
struct JSONNames<Processor> {
  static constexpr std::array list{NamedValue{Processor::appleSilicon, "apple-silicon"},
                                   NamedValue{Processor::intel, "intel"}};
};

/// The types of machine that are counted separately.
struct MachineKind {
  Update update = Update::unknown;
  std::optional<std::int64_t> macOS;  ///< The major version, 1 to 99.
  Processor processor = Processor::intel;
  friend std::strong_ordering operator<=>(const MachineKind&, const MachineKind&) = default;
};

/// The machines of one kind with the same prediction.
struct MachineGroup : FleetPrediction, MachineKind {
  friend std::strong_ordering operator<=>(const MachineGroup&, const MachineGroup&) = default;
};

/// A prediction that has changed.
struct Move {
  FleetPrediction from;
  FleetPrediction to;
  friend std::strong_ordering operator<=>(const Move&, const Move&) = default;
};

/// Counts over machines. Merging is associative and commutative, with a default-constructed summary
/// as the neutral element, so the summaries of any partition of a fleet merge to the same result.
/// Memory depends on the number of distinct predictions, not machines.
class FleetSummary {
 public:
  /// Counts saturate here.
  static constexpr std::uint64_t kMostMachines = INT64_MAX;

  FleetSummary() = default;  ///< No machines and no question yet.
  explicit FleetSummary(FleetQuestion question) : question_(std::move(question)) {}

  void add(const FleetPrediction& prediction, const MachineKind& kind, std::uint64_t machines = 1);
  /// Of machines, also counted by `add`, whose previous prediction was different.
  void addMove(const Move& move, std::uint64_t machines = 1);
  void addBadLines(std::uint64_t lines);

  /// Returns false without merging if the other summary is for another question.
  [[nodiscard]] bool merge(const FleetSummary& other);

  /// Adds, up to `kMostMachines`.
  static void increase(std::uint64_t& sum, std::uint64_t by);

  using Groups = std::map<MachineGroup, std::uint64_t>;
  using Moves = std::map<Move, std::uint64_t>;
  [[nodiscard]] const std::optional<FleetQuestion>& question() const noexcept { return question_; }
  [[nodiscard]] const Groups& groups() const noexcept { return groups_; }
  [[nodiscard]] const Moves& moves() const noexcept { return moves_; }
  [[nodiscard]] std::uint64_t machines() const noexcept { return machines_; }
  [[nodiscard]] std::uint64_t badLines() const noexcept { return badLines_; }

  friend bool operator==(const FleetSummary&, const FleetSummary&) = default;

 private:
  std::optional<FleetQuestion> question_;
  Groups groups_;
  Moves moves_;
  std::uint64_t machines_ = 0;
  std::uint64_t badLines_ = 0;
};

/// One line of JSON, with its line feed (docs/FLEET.md).
[[nodiscard]] std::string asJSON(const FleetSummary& summary);
/// Parses such a line. Errors name no file.
[[nodiscard]] std::expected<FleetSummary, FileCodec::DecodingError> summaryFromJSON(
    std::string_view line);

/// Tables with bars: outcomes, blocking reasons, kinds of machine and for a comparison the changes;
/// then what their words mean.
[[nodiscard]] std::string asTable(const FleetSummary& summary, const Console& console);

}  // namespace agent_tool
