// Runs vexlo-patch inside simulated Macs and reads back what came of it.
#pragma once
#include <gmock/gmock.h>

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Tests/Fakes/LogCapture.h"

namespace end_to_end {

/// What to run, and in which Mac.
struct MacRun {
  std::string scenario = "healthy";
  std::vector<std::string> settings;  ///< "SECTION/KEY=VALUE" over the scenario's.
  std::string machine = "apple-silicon";
  std::vector<std::string> options;  ///< More for `vexlo-patch run`.
  int times = 1;                     ///< Runs in the same Mac, one after the other.
};

/// One call of a stand-in, as the Mac recorded it.
struct Call {
  std::string tool;
  std::vector<std::string> arguments;
  std::optional<std::string> input;
  std::string user;
  std::optional<std::string> session;
  std::vector<std::string> environment;
  std::vector<int> descriptors;
};
/// "softwareupdate --list": the tool and its arguments, for expectations and failures.
[[nodiscard]] std::string commandLine(const Call& call);
std::ostream& operator<<(std::ostream& out, const Call& call);

/// What a run left.
struct Ended {
  int status = -1;                   ///< Of the last run of vexlo-patch.
  std::vector<std::string> results;  ///< «2006 applyLater macOSUpdateIsDeferred 2099-Jan-01»
  std::vector<LogRecord> log;
  std::vector<Call> calls;
  std::vector<std::string> notices;     ///< What the tool itself says on standard error.
  std::vector<std::string> unreadable;  ///< Lines of output that are none of the above.
  std::string promptData;               ///< The prompt counts' file, empty without one.
  std::vector<std::string> leftFiles;   ///< What lies in the prompt's directory.
  std::vector<std::string> leftApps;    ///< Executables of applications that still run.
  double seconds = 0;                   ///< How long the actions took together.

  /// The calls of one tool.
  [[nodiscard]] std::vector<Call> callsOf(std::string_view tool) const;
  /// The messages of the log.
  [[nodiscard]] std::vector<std::string> messages() const;
};

/// Registers a test that runs vexlo-patch in a Mac and hands what came of it to `check`. All
/// runs of a test program are started before the first of them is waited for, so that their
/// waits pass side by side. Where no Mac can be made, the test is skipped. To be called before
/// `RUN_ALL_TESTS`.
void addMacTest(const char* suite, const std::string& name, MacRun run,
                std::function<void(const Ended&)> check);

/// Registers tests when it is made: for variables at namespace scope.
class MacTests {
 public:
  template <typename Register>
  explicit MacTests(const Register& registerAll) {
    registerAll();
  }
};

/// A run of one action of the patch: «2005=20», arguments in quotation marks where they hold
/// blanks.
inline MacRun action(const std::string& codeAndArguments, std::vector<std::string> settings = {},
                     const std::string& machine = "apple-silicon") {
  settings.push_back("actions/" + codeAndArguments);
  return {.settings = std::move(settings), .machine = machine};
}

/// Lines of the log, whole: level, source file, function and message.
using Lines = std::vector<testing::Matcher<LogRecord>>;
inline testing::Matcher<LogRecord> info(const std::string& file, const std::string& function,
                                        const std::string& message) {
  return AllOf(InfoLine(message), LoggedBy(file, function));
}
inline testing::Matcher<LogRecord> debug(const std::string& file, const std::string& function,
                                         const std::string& message) {
  return AllOf(DebugLine(message), LoggedBy(file, function));
}
inline testing::Matcher<LogRecord> error(const std::string& file, const std::string& function,
                                         const std::string& message) {
  return AllOf(ErrorLine(message), LoggedBy(file, function));
}

/// The folder with `enter` and `vexlo-patch`.
[[nodiscard]] std::string programFolder();

/// Whether a simulated Mac can be made here; the reason when not.
[[nodiscard]] std::optional<std::string> whyNoMac();

/// How the tool shows the notification that updates are in progress.
inline constexpr const char* kUpdatesInProgress =
    "vexlo-patch: notification 19: macOS updates are in progress";

/// The password that the Macs' agent service holds.
inline constexpr std::string_view kPassword = "open sesame";

}  // namespace end_to_end
