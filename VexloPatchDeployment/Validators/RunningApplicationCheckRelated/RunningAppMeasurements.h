// What the check of running applications measures.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.h"

namespace vexlo {

/// The first of the patch's applications that was found running; the search ends with it.
struct VEXLO_EXPORT RunningApplicationsMeasurement {
  static constexpr std::string_view kind = "runningApplications";
  struct Application {
    std::string bundleID;
    std::string name;  ///< The bundle identifier when it has none.
    friend bool operator==(const Application&, const Application&) = default;
  };
  std::vector<Application> applications;  ///< Empty if none is running.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const RunningApplicationsMeasurement&,
                         const RunningApplicationsMeasurement&) = default;
};

enum class RunningAppPromptDecision : std::uint8_t {
  promptUser,       ///< Show the prompt; an unanswered one counts as no.
  skipDeployment,   ///< Show nothing today.
  forceDeployment,  ///< Show the prompt; an unanswered one counts as yes.
};

/// The enumerator's name.
[[nodiscard]] VEXLO_EXPORT std::string_view describe(RunningAppPromptDecision decision);

/// The prompt to close running applications, and the answer.
struct VEXLO_EXPORT PromptMeasurement {
  static constexpr std::string_view kind = "prompt";
  enum class Answer : std::uint8_t {
    agreed,
    declined,
    none,      ///< No usable answer in time; the decision determines what it counts as.
    notShown,  ///< The prompt could not be shown; counts as no.
    notAsked,  ///< No prompt was needed, or none has been shown yet.
  };
  RunningAppPromptDecision decision = RunningAppPromptDecision::promptUser;
  Answer answer = Answer::notAsked;
  /// After this answer. Absent without a limit and after the last one.
  std::optional<std::int64_t> postponementsLeft;
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const PromptMeasurement&, const PromptMeasurement&) = default;
};

}  // namespace vexlo
