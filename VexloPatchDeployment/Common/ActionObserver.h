// Lets an agent watch an action: what it measured, and how far a long one has got.
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

/// The free space of the start-up volume, compared with a required minimum.
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

/// Apple's update service doesn't answer: listing the updates failed.
struct UpdateServiceUnreachable {
  std::int32_t exitCode = 0;  ///< Of `softwareupdate`; may be 0 when only its text says so.
  friend bool operator==(const UpdateServiceUnreachable&,
                         const UpdateServiceUnreachable&) = default;
};

/// Whether MDM defers a macOS version.
struct DeferralMeasurement {
  std::string version;
  std::optional<bool> isDeferred;    ///< Absent when the deferrals can't be had.
  std::optional<std::string> until;  ///< «2024-Jun-15»; absent when not deferred or unreadable.
  friend bool operator==(const DeferralMeasurement&, const DeferralMeasurement&) = default;
};

/// The applications, of those that the patch would disturb, that run.
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

/// How the user was asked to let running applications be closed, and what came of it.
struct PromptMeasurement {
  enum class Answer : std::uint8_t {
    agreed,
    declined,
    none,      ///< No usable answer in time; the decision tells what it counts as.
    notShown,  ///< The prompt could not be shown; counts as no.
    notAsked,  ///< No prompt was to be shown, or none has been shown yet.
  };
  RunningAppPromptDecision decision = RunningAppPromptDecision::promptUser;
  Answer answer = Answer::notAsked;
  /// After this answer. Absent without a limit, and when the user can't postpone any more.
  std::optional<std::int64_t> postponementsLeft;
  friend bool operator==(const PromptMeasurement&, const PromptMeasurement&) = default;
};

/// One run of `softwareupdate` or `startosinstall` that has ended.
struct ToolRunMeasurement {
  enum class Step : std::uint8_t { download, installation, upgrade };
  Step step = Step::download;
  std::string subject;  ///< The update's label, or the path of the InstallAssistant application.
  std::int32_t exitCode = 0;
  std::string lastLine;  ///< The last line of its output that isn't blank, if any; cut if long.
  friend bool operator==(const ToolRunMeasurement&, const ToolRunMeasurement&) = default;
};

/// The second attempt wasn't made, since `softwareupdate` lists no update of that build.
struct UpdateNotListed {
  std::string build;  ///< «14.4.1-23E224»
  friend bool operator==(const UpdateNotListed&, const UpdateNotListed&) = default;
};

/// The action file gives an action no argument that it can use.
struct UnusableArguments {
  std::string_view expected;  ///< «minimum battery percentage»; lives as long as the library.
  std::optional<std::string>
      found;  ///< What is no whole number; absent when an argument is missing.
  friend bool operator==(const UnusableArguments&, const UnusableArguments&) = default;
};

/// What decided without anything being measured.
enum class DecidingRule : std::uint8_t {
  notInPlan,              ///< the action doesn't apply to the patch
  undefinedAction,        ///< the library doesn't know the action's code
  notImplemented,         ///< the action does nothing
  otherProcessor,         ///< the action is for machines with another processor
  patchedThroughMDM,      ///< the server patches the OS through MDM
  notEnrolled,            ///< the machine isn't enrolled in MDM
  deferralCheckDisabled,  ///< the agent's settings switch the deferral check off
  killWithoutAsking,      ///< the agent's settings close applications without a prompt
  promptDisabled,         ///< the agent's settings allow no prompt
  applicationsUnnamed,    ///< no running application can be named; counts as none running
};

/// Something that an action measured or that decided it.
using Measurement =
    std::variant<BatteryMeasurement, DiskSpaceMeasurement, ConsoleUserMeasurement,
                 LoggedOnUsersMeasurement, UpdateServiceUnreachable, DeferralMeasurement,
                 RunningApplicationsMeasurement, PromptMeasurement, ToolRunMeasurement,
                 UpdateNotListed, UnusableArguments, DecidingRule>;

/// In a few words for people: "battery 12 %, 30 % needed", "84.1 GB free, 90 GB needed". Names come
/// from outside and are not escaped. May be empty.
[[nodiscard]] VEXLO_EXPORT std::string describe(const Measurement& measurement);
/// All that one action measured, in order: "Safari, Mail running; 2 postponements left".
[[nodiscard]] VEXLO_EXPORT std::string describe(std::span<const Measurement> measurements);
VEXLO_EXPORT std::ostream& operator<<(std::ostream& out, const Measurement& measurement);

/// How far the tool of an installation has got, by its own output.
struct ActionProgress {
  enum class Phase : std::uint8_t {
    starting,  ///< Nothing told yet.
    searching,
    downloading,
    preparing,
    installing,
  };
  Phase phase = Phase::starting;
  std::optional<double> percent;  ///< Of the phase, 0 to 100; absent until the tool tells one.
  std::string_view line;          ///< The line just read; valid during the call only.
};

/// «downloading»
[[nodiscard]] VEXLO_EXPORT std::string_view name(ActionProgress::Phase phase);
/// «downloading 54 %»
[[nodiscard]] VEXLO_EXPORT std::string describe(const ActionProgress& progress);

/// Told what an action measures and how far it has got, while it runs. Called on the thread that
/// runs the action, which waits meanwhile. What it throws is dropped: who watches has no influence
/// on what becomes of a patch. It may use other processors but not the one that it observes.
class VEXLO_EXPORT ActionObserver {
 public:
  virtual ~ActionObserver();
  /// `action` measured something. May come several times for one action, or not at all.
  virtual void measured(const ActionID& action, const Measurement& measurement);
  /// A tool that `action` runs wrote a line that isn't blank. May come many times a second.
  virtual void progressed(const ActionID& action, const ActionProgress& progress);
};

}  // namespace vexlo
