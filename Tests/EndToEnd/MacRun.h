// Runs vexlo-patch inside simulated Macs and compares what came of it.
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace end_to_end {

/// Several texts; tables write them as one, with " | " between them.
struct Texts : std::vector<std::string> {
  using vector::vector;
  Texts(const std::string& joined);                          // NOLINT(*-explicit-*): for tables
  Texts(const char* joined) : Texts(std::string(joined)) {}  // NOLINT(*-explicit-*): for tables
};

/// What a run left.
struct Ended {
  int status = -1;       ///< Of the last run of vexlo-patch.
  Texts results;         ///< «2006 applyLater macOSUpdateIsDeferred 2099-Jan-01»
  Texts log;             ///< «info FILE FUNCTION: MESSAGE», where days «24-11-2026» read DAY
  Texts calls;           ///< The stand-ins' calls, as `describe` writes them.
  Texts notices;         ///< What the tool itself says on standard error.
  Texts unreadable;      ///< Lines of output that are none of the above.
  std::string counts;    ///< The prompt counts' file, without blanks between its elements.
  std::string setAside;  ///< The file that lay in its place and could not be read.
  Texts leftFiles;       ///< What lies in the prompt's directory.
  Texts leftApps;        ///< Executables of applications that still run.
  Texts leaks;           ///< Calls that got a descriptor or the password in their environment.
  double seconds = 0;    ///< How long the actions took together.
};

/// Stands for any text in the place where it ends an expected line, alone for any calls.
inline constexpr const char* kAny = "…";
inline const Texts kAnyCalls = kAny;

/// A run of vexlo-patch in a Mac, and what is to come of it.
struct MacTest {
  std::string name;
  Texts settings;  ///< «SECTION/KEY=VALUE» over the scenario's.
  Texts results;
  Texts lines = {};  ///< Are in the log, among others.
  Texts calls = {};  ///< All there are, in their order.
  std::function<void(const Ended&)> check = nullptr;
  std::string scenario = "healthy";
  Texts options = {};  ///< More for `vexlo-patch run`.
  int times = 1;       ///< Runs in the same Mac, one after the other.
};

/// Registers tests when it is made: for variables at namespace scope. All runs of a test program
/// are started before the first of them is waited for, so that their waits pass side by side.
/// Where no Mac can be made, the tests are skipped.
class MacTests {
 public:
  MacTests(const std::string& suite, const std::vector<MacTest>& tests);
};

/// All of them, in this order.
[[nodiscard]] Texts operator+(Texts first, const Texts& more);

/// The folder with `enter` and `vexlo-patch`.
[[nodiscard]] std::string programFolder();

/// Whether a simulated Mac can be made here; the reason when not.
[[nodiscard]] std::optional<std::string> whyNoMac();

/// The beginnings of the log lines of the action processor.
inline const std::string kProcessor = "PatchActions/Main/ProcessPatchActions ";

/// The password that the Macs' agent service holds.
inline constexpr std::string_view kPassword = "open sesame";

}  // namespace end_to_end
