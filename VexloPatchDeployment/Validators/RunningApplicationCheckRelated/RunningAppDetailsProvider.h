// Names a running application for the prompt.
#pragma once
#include <optional>
#include <string>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

struct RunningAppDetails {
  std::string appName;         ///< The display name, or the bundle identifier when it has none.
  std::string executablePath;  ///< Absolute path in the file system.
  friend bool operator==(const RunningAppDetails&, const RunningAppDetails&) = default;
};

class RunningAppDetailsProviding {
 public:
  virtual ~RunningAppDetailsProviding() = default;
  /// The details of the first running instance whose executable is known; absent when there is
  /// none.
  [[nodiscard]] virtual std::optional<RunningAppDetails> appDetails(
      const std::string& bundleID) = 0;
};

/// Keeps nothing between calls; usable from any thread that its query is.
class RunningAppDetailsProvider final : public RunningAppDetailsProviding {
 public:
  /// `applicationQuery` must outlive this object.
  explicit RunningAppDetailsProvider(RunningApplicationQuerying& applicationQuery);
  [[nodiscard]] std::optional<RunningAppDetails> appDetails(const std::string& bundleID) override;

 private:
  RunningApplicationQuerying& applicationQuery_;
};

}  // namespace vexlo
