// What the evaluation of an action predicts, and what that means for the patch.
#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "AgentTool/Console/Console.h"
#include "AgentTool/Console/ExitStatus.h"

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
  wouldForce,  ///< The user would be asked; no answer counts as yes.
  wouldKill,   ///< Applications would be killed; then it passes.
  wouldRun,    ///< Commands would run; their results decide.
  notAsked,    ///< Depends on something that was not asked or recorded.
};

struct PredictionRow {
  Prediction prediction;
  std::string_view name;
  Verdict verdict;
  bool isResult;  ///< Whether it is the action's result.
};
constexpr std::array kPredictions{
    // in the enumeration's order
    PredictionRow{Prediction::success, "success", Verdict::ready, true},
    PredictionRow{Prediction::applyLater, "applyLater", Verdict::waits, true},
    PredictionRow{Prediction::failure, "failure", Verdict::fails, true},
    PredictionRow{Prediction::wouldAsk, "wouldAsk", Verdict::waits, false},
    PredictionRow{Prediction::wouldForce, "wouldForce", Verdict::ready, false},
    PredictionRow{Prediction::wouldKill, "wouldKill", Verdict::ready, false},
    PredictionRow{Prediction::wouldRun, "wouldRun", Verdict::ready, false},
    PredictionRow{Prediction::notAsked, "notAsked", Verdict::waits, false},
};

[[nodiscard]] constexpr const PredictionRow& rowOf(Prediction prediction) {
  return kPredictions.at(static_cast<std::size_t>(prediction));
}
[[nodiscard]] constexpr std::string_view name(Prediction prediction) {
  return rowOf(prediction).name;
}
[[nodiscard]] constexpr bool isResult(Prediction prediction) { return rowOf(prediction).isResult; }
[[nodiscard]] constexpr const VerdictRow& verdictOn(Prediction prediction) {
  return rowOf(rowOf(prediction).verdict);
}
/// The same for a prediction's name; an unknown one, of another version, waits.
[[nodiscard]] constexpr const VerdictRow& verdictOn(std::string_view name) {
  const auto* const row = std::ranges::find(kPredictions, name, &PredictionRow::name);
  return rowOf(row == kPredictions.end() ? Verdict::waits : row->verdict);
}

}  // namespace agent_tool
