// Checks whether any of a list of applications is running.
#pragma once
#include <string>
#include <vector>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

class RunningAppDetecting {
 public:
  virtual ~RunningAppDetecting() = default;
  /// Whether an application with any of the bundle identifiers is running.
  [[nodiscard]] virtual bool isAnyAppRunning(const std::vector<std::string>& bundleIDs) = 0;
};

/// Stops at the first identifier that is running. Stateless; as thread-safe as its query.
class RunningAppDetector final : public RunningAppDetecting {
 public:
  /// `applicationQuery` must outlive this object.
  explicit RunningAppDetector(RunningApplicationQuerying& applicationQuery)
      : applicationQuery_(applicationQuery) {}
  [[nodiscard]] bool isAnyAppRunning(const std::vector<std::string>& bundleIDs) override;

 private:
  RunningApplicationQuerying& applicationQuery_;
};

}  // namespace vexlo
