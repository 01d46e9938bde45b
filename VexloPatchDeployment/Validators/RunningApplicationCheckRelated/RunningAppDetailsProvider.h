// Looks up the name of a running application for the prompt.
#pragma once
#include <optional>
#include <string>

#include "VexloPatchDeployment/Validators/RunningApplicationCheckRelated/RunningApplicationQuery.h"

namespace vexlo {

struct RunningAppDetails {
  std::string appName;         ///< The display name, or the bundle identifier if there is none.
  std::string executablePath;  ///< Absolute path in the file system.
  friend bool operator==(const RunningAppDetails&, const RunningAppDetails&) = default;
};

class RunningAppDetailsProviding {
 public:
  virtual ~RunningAppDetailsProviding() = default;
  /// The details of the first running instance whose executable is known; absent if there is none.
  [[nodiscard]] virtual std::optional<RunningAppDetails> appDetails(
      const std::string& bundleID) = 0;
};

/// Stateless; as thread-safe as its query.
class RunningAppDetailsProvider final : public RunningAppDetailsProviding {
 public:
  /// `applicationQuery` must outlive this object.
  explicit RunningAppDetailsProvider(RunningApplicationQuerying& applicationQuery)
      : applicationQuery_(applicationQuery) {}
  [[nodiscard]] std::optional<RunningAppDetails> appDetails(const std::string& bundleID) override;

 private:
  RunningApplicationQuerying& applicationQuery_;
};

}  // namespace vexlo
