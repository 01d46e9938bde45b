// What the functions of actions measure themselves.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.h"

namespace vexlo {

/// The action file has no usable argument for an action.
struct VEXLO_EXPORT UnusableArguments {
  static constexpr std::string_view kind = "unusableArguments";
  std::string_view expected;  ///< «minimum battery percentage»; lives as long as the library.
  std::optional<std::string> found;  ///< The invalid argument; absent if missing.
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const UnusableArguments&, const UnusableArguments&) = default;
};

/// What decided without a measurement.
enum class DecidingRule : std::uint8_t {
  notInPlan,              ///< the action doesn't apply to the patch
  undefinedAction,        ///< the library doesn't know the action's code
  notImplemented,         ///< the action does nothing
  otherProcessor,         ///< the action is for machines with another processor
  patchedThroughMDM,      ///< the server patches the OS through MDM
  notEnrolled,            ///< the machine isn't enrolled in MDM
  deferralCheckDisabled,  ///< the agent's settings disable the deferral check
  killWithoutAsking,      ///< the agent's settings close applications without a prompt
  promptDisabled,         ///< the agent's settings allow no prompt
  applicationsUnnamed,    ///< no running application has a name; counts as none running
};

struct VEXLO_EXPORT RuleMeasurement {
  static constexpr std::string_view kind = "rule";
  DecidingRule rule = DecidingRule::notInPlan;
  [[nodiscard]] std::string words() const;
  [[nodiscard]] std::string json() const;
  friend bool operator==(const RuleMeasurement&, const RuleMeasurement&) = default;
};

}  // namespace vexlo
