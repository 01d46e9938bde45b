// Lets an agent observe an action's measurements and progress.
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.h"
#include "VexloPatchDeployment/Common/ActionID.h"
#include "VexloPatchDeployment/Common/Measurement.h"

namespace vexlo {

/// The progress of an installation, mostly according to the output of its tool.
struct ActionProgress {
  enum class Phase : std::uint8_t {
    starting,  ///< Nothing reported yet.
    searching,
    downloading,
    preparing,
    installing,
    waiting,  ///< Pauses before the next command or attempt.
  };
  Phase phase = Phase::starting;
  std::optional<double> percent;  ///< Of the phase, 0 to 100; absent until the tool reports it.
  std::string_view line;          ///< The line just read, if any; valid only during the call.
};

/// «downloading»
[[nodiscard]] VEXLO_EXPORT std::string_view name(ActionProgress::Phase phase);
/// «downloading 54 %»
[[nodiscard]] VEXLO_EXPORT std::string describe(const ActionProgress& progress);

/// Receives an action's measurements and progress while it runs, on the thread that runs the
/// action. Exceptions are dropped, because observers must not affect a patch. It may use other
/// processors, but not the one that it observes.
class VEXLO_EXPORT ActionObserver {
 public:
  virtual ~ActionObserver();
  /// `action` measured something. Called any number of times per action.
  virtual void measured(const ActionID& action, const Measurement& measurement);
  /// A tool of `action` wrote a non-blank line, or a pause of an installation begins (`waiting`) or
  /// ends (`starting`). May be called many times a second.
  virtual void progressed(const ActionID& action, const ActionProgress& progress);
};

}  // namespace vexlo
