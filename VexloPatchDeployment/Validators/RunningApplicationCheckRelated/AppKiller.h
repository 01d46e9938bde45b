// Kills running applications.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "Platform/Calendar.h"
#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

/// Replaced where nothing may change on the machine, as in tests.
class AppKilling {
 public:
  virtual ~AppKilling() = default;
  /// Asks the system to kill every running instance of each bundle identifier, in list order.
  /// Pauses for two seconds after each. A refused request is only logged.
  virtual void killApps(const std::vector<std::string>& bundleIDs) = 0;
};

/// Kills without asking the application to quit first, and doesn't check again. Stateless; as
/// thread-safe as its query.
class AppKiller final : public AppKilling {
 public:
  /// `applicationQuery` must outlive this object.
  explicit AppKiller(RunningApplicationQuerying& applicationQuery,
                     platform::Sleeper sleeper = platform::systemSleeper())
      : applicationQuery_(applicationQuery), sleeper_(std::move(sleeper)) {}
  void killApps(const std::vector<std::string>& bundleIDs) override;

 private:
  RunningApplicationQuerying& applicationQuery_;
  platform::Sleeper sleeper_;
};

}  // namespace vexlo
