// Tells whether an application that a patch would disturb is running.
#pragma once
#include <string>
#include <vector>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

class RunningAppDetecting {
 public:
  virtual ~RunningAppDetecting() = default;
  /// True when an application of any of the bundle identifiers runs.
  [[nodiscard]] virtual bool isAnyAppRunning(const std::vector<std::string>& bundleIDs) = 0;
};

/// Asks for one identifier after the other and stops at the first that is running. Keeps nothing
/// between calls; usable from any thread that its query is.
class RunningAppDetector final : public RunningAppDetecting {
 public:
  /// `applicationQuery` must outlive this object.
  explicit RunningAppDetector(RunningApplicationQuerying& applicationQuery);
  [[nodiscard]] bool isAnyAppRunning(const std::vector<std::string>& bundleIDs) override;

 private:
  RunningApplicationQuerying& applicationQuery_;
};

}  // namespace vexlo
