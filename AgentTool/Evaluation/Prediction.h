// What the evaluation of an action predicts, and what that means for the patch.
#pragma once
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "AgentTool/Console/Console.h"
#include "AgentTool/JSON/JSONFields.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/PatchActionResult.h"

namespace agent_tool {

/// What a prediction means for the patch, from the best to the worst.
enum class Verdict : std::uint8_t {
  ready,  ///< The action doesn't stop the patch, as far as can be known beforehand.
  waits,  ///< It stops the patch until later.
  fails,  ///< It stops the patch with a failure.
};

struct VerdictRow {
  Verdict verdict;
  bool stopsPatch;
  Style style;
  ExitStatus status;  ///< Of a patch with this as its worst verdict.
};
constexpr std::array kVerdicts{
    // in the enumeration's order
    VerdictRow{Verdict::ready, false, Style::good, ExitStatus::success},
    VerdictRow{Verdict::waits, true, Style::waiting, ExitStatus::applyLater},
    VerdictRow{Verdict::fails, true, Style::bad, ExitStatus::failure},
};

[[nodiscard]] constexpr const VerdictRow& rowOf(Verdict verdict) {
  return kVerdicts.at(static_cast<std::size_t>(verdict));
}

/// The predicted result of an action, or what would happen before its result is known.
enum class Prediction : std::uint8_t {
  success,     ///< It passes.
  applyLater,  ///< It can't pass now.
  failure,     ///< It fails.
  wouldAsk,    ///< The user would be asked; no answer counts as no.
  wouldForce,  ///< The user would be asked; no answer counts as yes, declining as applyLater.
  wouldKill,   ///< Applications would be killed; then it passes.
  wouldRun,    ///< Commands would run; their results decide.
  notAsked,    ///< Depends on something that was not asked or recorded.
};

struct PredictionRow {
  Prediction value;
  std::string_view name;
  Verdict verdict;
  /// What the action does to the machine before later ones are evaluated; empty if nothing.
  std::string_view act;
  std::string_view meaning;  ///< For people.
};
constexpr std::array kPredictions{
    // in the enumeration's order
    PredictionRow{Prediction::success, "success", Verdict::ready, "", "the action passes"},
    PredictionRow{Prediction::applyLater, "applyLater", Verdict::waits, "",
                  "the action can't pass now"},
    PredictionRow{Prediction::failure, "failure", Verdict::fails, "", "the action fails"},
    PredictionRow{Prediction::wouldAsk, "wouldAsk", Verdict::waits, "",
                  "the user would be asked to close applications; no answer counts as no"},
    PredictionRow{Prediction::wouldForce, "wouldForce", Verdict::ready, "would force the prompt",
                  "the user would be asked, and no answer counts as yes; declining is applyLater, "
                  "and postponements may be left"},
    PredictionRow{Prediction::wouldKill, "wouldKill", Verdict::ready, "would kill applications",
                  "applications would be killed without asking"},
    PredictionRow{Prediction::wouldRun, "wouldRun", Verdict::ready, "would install",
                  "the installer would run; its result decides"},
    PredictionRow{Prediction::notAsked, "notAsked", Verdict::waits, "",
                  "depends on something that was not asked or is not in the facts"},
};

template <>
struct JSONNames<Prediction> {
  static constexpr const auto& list = kPredictions;
};

/// The prediction that an action has this result.
[[nodiscard]] constexpr Prediction predictionOf(vexlo::PatchActionResult::Outcome outcome) {
  switch (outcome) {
    case vexlo::PatchActionResult::Outcome::success:
      return Prediction::success;
    case vexlo::PatchActionResult::Outcome::applyLater:
      return Prediction::applyLater;
    case vexlo::PatchActionResult::Outcome::failure:
      return Prediction::failure;
  }
  std::unreachable();
}
[[nodiscard]] constexpr const VerdictRow& verdictOn(Prediction prediction) {
  return rowOf(rowOf(prediction).verdict);
}

/// An action that would have changed the machine before a later one runs.
struct Acted {
  std::string code;
  Prediction outcome = Prediction::success;
  friend auto operator<=>(const Acted&, const Acted&) = default;
};
/// Rejects an outcome without an act.
[[nodiscard]] constexpr JSONField<Acted> acting(JSONField<Acted> field) {
  field.read = [](const JSONValue& value, const JSONPlace& place, Acted& acted) {
    JSONForm<Prediction>::read(value, place, acted.outcome);
    if (rowOf(acted.outcome).act.empty()) {
      rejectValue(value, place, "an outcome that changes the machine");
    }
  };
  return field;
}
template <>
struct JSONFields<Acted> {
  static constexpr std::array list{
      needed(field<&Acted::code>("code")),
      JSONField<Acted>{
          .name = "action",
          .write =
              [](const Acted& acted) { return asJSON(describe(vexlo::ActionID(acted.code))); }},
      needed(acting(field<&Acted::outcome>("outcome")))};
};

}  // namespace agent_tool
