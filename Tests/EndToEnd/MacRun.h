// Runs vexlo-patch inside simulated Macs and compares the outcome with tables.
#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <source_location>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Process.h"

namespace end_to_end {

struct Texts : std::vector<std::string> {
  using vector::vector;
};

/// The outcome of a run.
struct Ended {
  int status = -1;       ///< Of the last run of vexlo-patch.
  Texts results;         ///< «2006 applyLater macOSUpdateIsDeferred 2099-Jan-01»
  Texts why;             ///< The measurements of each result.
  Texts progress;        ///< «2007 downloading 50.00»
  Texts log;             ///< «info FILE FUNCTION: MESSAGE», with days «24-11-2026» shown as DAY
  Texts calls;           ///< The stand-ins' calls, as formatted by `describe`.
  Texts notices;         ///< The tool's own messages on standard error.
  Texts unreadable;      ///< Output lines that could not be parsed.
  std::string counts;    ///< The prompt counts' file, without white space between its elements.
  std::string setAside;  ///< The damaged file that it replaced.
  Texts leftFiles;       ///< Remaining files in the prompt's directory.
  Texts leftApps;        ///< Executables of applications that are still running.
  Texts leaks;  ///< Calls that inherited a descriptor or have the password in their environment.
  double seconds = 0;  ///< Total time of the actions.
};

/// At the end of an expected line or of `why`: any text. As the only expected call: any calls.
inline constexpr const char* kAny = "…";
inline const Texts kAnyCalls{kAny};

/// The name of a table row, and its source location.
struct RowName {
  template <typename Name>
  RowName(const Name& name,  // NOLINT(*-explicit-*,*-pass-by-value): for tables
          std::source_location row = std::source_location::current())
      : text(name), where(row) {}
  /// The same row with a longer name.
  RowName operator+(const std::string& suffix) const { return {text + suffix, where}; }

  std::string text;
  std::source_location where;
};

/// A run of vexlo-patch in a Mac, and the expected outcome.
struct MacTest {
  RowName name;
  Texts settings = {};  ///< «SECTION/KEY=VALUE», overriding the scenario's.
  Texts results = {};
  Texts lines = {};  ///< Lines that the log must contain, among others.
  Texts calls = {};  ///< All calls of tools, in order.
  Texts why = {};    ///< The measurements of each result; not compared when empty.
  std::function<void(const Ended&)> check = nullptr;
  std::string scenario = "healthy";
  Texts options = {};  ///< Further options of `vexlo-patch run`.
  int times = 1;       ///< How often vexlo-patch runs in the same Mac, one run after the other.
};

/// Registers a test; for variables at namespace scope. Its `run` starts on a thread of its own
/// before the first test waits, so that the waits overlap; then the test calls what it returned.
/// Skipped if no simulated Mac can be created.
struct EarlyTest {
  EarlyTest(const std::string& suite, const RowName& name,
            std::function<std::function<void()>()> run);
};

/// Registers a table of tests; each is an `EarlyTest`.
class MacTests {
 public:
  MacTests(const std::string& suite, const std::vector<MacTest>& tests);

  /// Calls `visit` for each row of all tables.
  static void forEach(const std::function<void(const MacTest&)>& visit);
};

/// Concatenation.
[[nodiscard]] Texts operator+(Texts first, const Texts& more);

/// The lines of a text, without their ends.
[[nodiscard]] Texts lines(const std::string& text);

/// The folder with `enter` and `vexlo-patch`.
[[nodiscard]] std::string programFolder();

/// Why no simulated Mac can be created here; absent if one can.
[[nodiscard]] std::optional<std::string> simulatedMacProblem();

/// For tests in simulated Macs: skips them if none can be created.
class SimulatedMacTest : public testing::Test {
 protected:
  void SetUp() override;
};

/// Runs the program in `programFolder()`.
[[nodiscard]] platform::ProcessResult ran(const std::string& program, const Texts& arguments);

/// The file name in the log lines of the action processor.
inline const std::string kProcessor = "PatchActions/Main/ProcessPatchActions ";

/// The password stored by the agent service of every Mac.
inline constexpr std::string_view kPassword = "open sesame";

}  // namespace end_to_end
