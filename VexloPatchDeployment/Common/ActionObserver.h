// Lets an agent observe an action's measurements and progress.
#pragma once
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Platform/Export.h"
#include "VexloPatchDeployment/Common/ActionID.h"

namespace vexlo {

/// The power source, compared with a required battery level.
struct BatteryMeasurement {
  enum class Source : std::uint8_t {
    battery,
    mains,    ///< Counts as sufficient.
    unknown,  ///< Can't be read, or none is readable; counts as sufficient.
  };
  Source source = Source::unknown;
  std::int64_t percentage = 0;  ///< On battery only; normally 0 to 100.
  std::int64_t neededPercentage = 0;
  friend bool operator==(const BatteryMeasurement&, const BatteryMeasurement&) = default;
};

/// The free space of the startup volume, compared with a required minimum.
struct DiskSpaceMeasurement {
  std::optional<std::int64_t> freeBytes;  ///< Absent when it can't be read; counts as sufficient.
  std::int64_t neededBytes = 0;
  friend bool operator==(const DiskSpaceMeasurement&, const DiskSpaceMeasurement&) = default;
};

struct ConsoleUserMeasurement {
  std::optional<std::string> user;  ///< Short name; absent when nobody is at the console.
  friend bool operator==(const ConsoleUserMeasurement&, const ConsoleUserMeasurement&) = default;
};

struct LoggedOnUsersMeasurement {
  std::vector<std::string> users;  ///< Short names; empty when nobody is logged on.
  friend bool operator==(const LoggedOnUsersMeasurement&,
                         const LoggedOnUsersMeasurement&) = default;
};

/// Apple's update service is unreachable: listing the updates failed.
struct UpdateServiceUnreachable {
  std::int32_t exitCode = 0;  ///< Of `softwareupdate`; may be 0 if only its output says so.
  friend bool operator==(const UpdateServiceUnreachable&,
                         const UpdateServiceUnreachable&) = default;
};

/// Whether MDM defers a macOS version.
struct DeferralMeasurement {
  std::string version;
  std::optional<bool> isDeferred;    ///< Absent if the deferrals are not available.
  std::optional<std::string> until;  ///< «2024-Jun-15»; absent when not deferred or unreadable.
  friend bool operator==(const DeferralMeasurement&, const DeferralMeasurement&) = default;
};

/// The running applications among those that the patch affects.
struct RunningApplicationsMeasurement {
  struct Application {
    std::string bundleID;
    std::string name;  ///< The bundle identifier when it has none.
    friend bool operator==(const Application&, const Application&) = default;
  };
  std::vector<Application> applications;  ///< In the order of the arguments; may be empty.
  friend bool operator==(const RunningApplicationsMeasurement&,
                         const RunningApplicationsMeasurement&) = default;
};

enum class RunningAppPromptDecision : std::uint8_t {
  promptUser,       ///< Show the prompt; an unanswered one counts as no.
  skipDeployment,   ///< Show nothing today.
  forceDeployment,  ///< Show the prompt; an unanswered one counts as yes.
};

/// The prompt to close running applications, and the answer.
struct PromptMeasurement {
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
  friend bool operator==(const PromptMeasurement&, const PromptMeasurement&) = default;
};

/// One run of `softwareupdate` or `startosinstall` that has ended.
struct ToolRunMeasurement {
  enum class Step : std::uint8_t { download, installation, upgrade };
  Step step = Step::download;
  std::string subject;  ///< The update's label, or the path of the InstallAssistant application.
  std::int32_t exitCode = 0;
  std::string lastLine;  ///< The last non-blank line of output, if any; truncated if long.
  friend bool operator==(const ToolRunMeasurement&, const ToolRunMeasurement&) = default;
};

/// There was no second attempt, because `softwareupdate` doesn't list the build.
struct UpdateNotListed {
  std::string build;  ///< «14.4.1-23E224»
  friend bool operator==(const UpdateNotListed&, const UpdateNotListed&) = default;
};

/// The action file has no usable argument for an action.
struct UnusableArguments {
  std::string_view expected;  ///< «minimum battery percentage»; lives as long as the library.
  std::optional<std::string> found;  ///< The invalid argument; absent if missing.
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

/// A measurement or deciding rule of an action.
using Measurement =
    std::variant<BatteryMeasurement, DiskSpaceMeasurement, ConsoleUserMeasurement,
                 LoggedOnUsersMeasurement, UpdateServiceUnreachable, DeferralMeasurement,
                 RunningApplicationsMeasurement, PromptMeasurement, ToolRunMeasurement,
                 UpdateNotListed, UnusableArguments, DecidingRule>;

/// A short description: "battery 12 %, 30 % needed", "84.1 GB free, 90 GB needed". Untrusted names
/// are not escaped. May be empty.
[[nodiscard]] VEXLO_EXPORT std::string describe(const Measurement& measurement);
/// All measurements of an action: "Safari, Mail running; 2 postponements left".
[[nodiscard]] VEXLO_EXPORT std::string describe(std::span<const Measurement> measurements);
VEXLO_EXPORT std::ostream& operator<<(std::ostream& out, const Measurement& measurement);

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
