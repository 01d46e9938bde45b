// Parses a tool's progress from its output.
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace vexlo {

/// Parses the output of one run of `softwareupdate` or `startosinstall`. Lines end with a line feed
/// or a carriage return, so each rewrite of a terminal line is a line. A percentage is reported as
/// soon as its sign has been read, because a tool ends a rewritten line only when it writes the
/// next one. Lines are truncated to 4 KiB.
class ToolProgress {
 public:
  using Callback = std::function<void(const ActionProgress& progress)>;

  /// `callback` is called for each line that isn't blank. A line without a phase or percentage
  /// keeps the previous one.
  explicit ToolProgress(Callback callback);

  /// Parses the next piece of output, which may begin and end anywhere. Throws only what `callback`
  /// throws.
  void read(std::string_view output);
  /// Parses an unfinished last line.
  void finish() { endLine(); }

 private:
  void endLine();

  Callback callback_;
  std::string line_;
  ActionProgress::Phase phase_ = ActionProgress::Phase::starting;
  std::optional<double> percent_;
};

}  // namespace vexlo
