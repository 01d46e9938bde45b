// Running applications: processes of application bundles, and their termination.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// One running application. It stands for the very process that was found: once that has ended,
/// a later process with the same id is not meant.
class ApplicationProcess {
 public:
  virtual ~ApplicationProcess() = default;
  [[nodiscard]] virtual std::string bundleIdentifier() const = 0;
  /// The bundle's display name; absent when it has none.
  [[nodiscard]] virtual std::optional<std::string> localizedName() const = 0;
  [[nodiscard]] virtual std::int32_t processIdentifier() const = 0;
  /// Path of the executable; absent when it can't be read.
  [[nodiscard]] virtual std::optional<std::string> executablePath() const = 0;
  /// Kills the process at once. True when the request was accepted.
  virtual bool forceTerminate() = 0;
};

/// The running applications whose bundle bears exactly `bundleIdentifier`, by process id. A
/// process belongs to a bundle when its executable, or the script that it interprets, lies in
/// `X.app/Contents/MacOS/` and `X.app/Contents/Info.plist` bears the identifier. Processes that
/// may not be looked at, or end meanwhile, are left out. An application without an identifier
/// answers to none: an empty `bundleIdentifier` finds nothing.
[[nodiscard]] std::vector<std::unique_ptr<ApplicationProcess>> runningApplications(
    std::string_view bundleIdentifier);

/// All running applications with a bundle identifier, found in the same way and the same order.
[[nodiscard]] std::vector<std::unique_ptr<ApplicationProcess>> allRunningApplications();

}  // namespace platform
