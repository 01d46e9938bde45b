// The tables of actions and measurements: what each action runs, and the documentation, from which
// help, reference, JSON Schema and the check of action files are generated.
#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "VexloPatchDeployment/Common/ActionNames.h"
#include "VexloPatchDeployment/PatchActions/Main/ActionRun.h"

namespace vexlo {

/// The format of an argument.
enum class ArgumentKind : std::uint8_t {
  integer,           ///< In any unit; see `ActionArgument::largest`.
  macOSVersion,      ///< Such as "14.5".
  updateLabel,       ///< A label of `softwareupdate`.
  bundleIdentifier,  ///< Such as "com.apple.Safari".
  applicationPath,   ///< The absolute path of an application.
};

struct ActionArgument {
  std::string_view name;  ///< "minimum battery level"
  ArgumentKind kind;
  std::string_view meaning;  ///< With unit and limits; lower case, without a full stop.
  std::string_view example;
  /// May be left out together with those after it, which must be optional, too.
  bool isOptional = false;
  // For integers, and the first two for versions, too:
  /// The largest value that makes sense: a power of ten; of versions the major one.
  std::int64_t largest = 0;
  std::string_view ifLarger = {};    ///< The warning about larger values.
  std::string_view ifNegative = {};  ///< The warning about negative ones; empty if there is none.
};

struct DocumentedResult {
  std::string_view result;  ///< "applyLater(inSufficientBattery)"
  std::string_view when;    ///< Lower case, without a full stop.
};

/// An action and its documentation for authors of action files. With `lastRepeats` the last
/// argument may be repeated. Further arguments are ignored.
struct KnownActionRow {
  KnownAction action;
  std::string_view code = nameOf(action).code;
  std::string_view name = nameOf(action).name;
  std::string_view summary;  ///< One sentence.
  std::span<const ActionArgument> arguments = {};
  bool lastRepeats = false;
  bool restarts = false;     ///< The Mac restarts after success.
  bool doesNothing = false;  ///< Listed only for its code.
  std::span<const DocumentedResult> results;
  PatchActionResult (&run)(const ActionRun& run);  ///< A reference, so that no row can lack it.

  /// The number of arguments that may not be left out.
  [[nodiscard]] constexpr std::size_t requiredArguments() const {
    return static_cast<std::size_t>(
        std::ranges::count(arguments, false, &ActionArgument::isOptional));
  }
};

/// A type of measurement and the members of its JSON form.
struct MeasurementRow {
  std::string_view kind;
  std::string_view members;  ///< In Markdown: all names, with what isn't obvious.
};

/// In the order of the enumeration and of the codes.
[[nodiscard]] std::span<const KnownActionRow> knownActions() noexcept;

[[nodiscard]] const KnownActionRow& rowOf(KnownAction action) noexcept;

[[nodiscard]] std::span<const MeasurementRow> knownMeasurements() noexcept;

/// The row of the action with this code or name; null if there is none.
[[nodiscard]] const KnownActionRow* findKnownAction(std::string_view codeOrName) noexcept;

}  // namespace vexlo
