// Reads how far a tool has got from its own output.
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "VexloPatchDeployment/Common/ActionObserver.h"

namespace vexlo {

/// Follows the output of one run of `softwareupdate` or `startosinstall`. Lines end with a line
/// feed or a carriage return; what a tool rewrites on a terminal is therefore one line after the
/// other. A percentage is told as soon as its sign has been read, as a tool that rewrites its line
/// ends it only with the next one. Of a line that is longer than 4 KiB the rest is dropped.
class ToolProgress {
 public:
  using Tell = std::function<void(const ActionProgress& progress)>;

  /// `tell` is called for each line that isn't blank, with what is known then: a line that tells no
  /// phase or percentage leaves the ones before.
  explicit ToolProgress(Tell tell);

  /// Takes a piece of the output; pieces begin and end anywhere. Throws only what `tell` does.
  void read(std::string_view output);
  /// Takes a last line without an end.
  void finish() { endLine(); }

 private:
  void endLine();

  Tell tell_;
  std::string line_;
  ActionProgress::Phase phase_ = ActionProgress::Phase::starting;
  std::optional<double> percent_;
};

}  // namespace vexlo
