// Finds and kills running applications, which are processes of application bundles.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace platform {

/// One running application. It refers to the process that was found, never to a later one with the
/// same id.
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

/// The running applications whose bundle has exactly this identifier, ordered by process id. A
/// process belongs to a bundle if its executable, or the script that it interprets, is in
/// `X.app/Contents/MacOS/` and `X.app/Contents/Info.plist` has the identifier. Processes that can't
/// be inspected or exit during the search are left out. An empty `bundleIdentifier` finds nothing.
/// `failure`, if not null, gets why some may be missing although they could be inspected, such as
/// too few free descriptors; a later search may find them.
[[nodiscard]] std::vector<std::unique_ptr<ApplicationProcess>> runningApplications(
    std::string_view bundleIdentifier, std::error_code* failure = nullptr);

/// All running applications with a bundle identifier, found in the same way and the same order.
[[nodiscard]] std::vector<std::unique_ptr<ApplicationProcess>> allRunningApplications(
    std::error_code* failure = nullptr);

}  // namespace platform
