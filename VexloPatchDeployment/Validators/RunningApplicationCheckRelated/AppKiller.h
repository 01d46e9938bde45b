// Kills every running instance of a list of applications.
#pragma once
#include <string>
#include <vector>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

class AppKilling {
 public:
  virtual ~AppKilling() = default;
  /// Asks the system to kill every running instance of every bundle identifier, in list order.
  /// Pauses two seconds after each. A refused request is only logged.
  virtual void killApps(const std::vector<std::string>& bundleIDs) = 0;
};

/// Kills at once, without a polite request before, and doesn't look again. Keeps nothing between
/// calls; usable from any thread that its query is.
class AppKiller final : public AppKilling {
 public:
  /// `applicationQuery` must outlive this object.
  explicit AppKiller(RunningApplicationQuerying& applicationQuery,
                     platform::Sleeper sleeper = platform::systemSleeper());
  void killApps(const std::vector<std::string>& bundleIDs) override;

 private:
  RunningApplicationQuerying& applicationQuery_;
  platform::Sleeper sleeper_;
};

}  // namespace vexlo
