// Finds and kills running applications, which are processes of application bundles.
#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace platform {

/// One running application.
struct ApplicationProcess {
  std::string bundleIdentifier;
  std::optional<std::string> localizedName;  ///< The bundle's display name; absent if it has none.
  std::int32_t processIdentifier = 0;
  std::optional<std::string> executableURL;  ///< As a path; absent if it can't be read.
  /// Kills the process at once: the one that was found, never a later one with the same id. True
  /// when the request was accepted.
  std::function<bool()> forceTerminate;
};

/// The running applications whose bundle has exactly this identifier or, when it is absent, any
/// identifier, ordered by process id. A process belongs to a bundle if its executable, or the
/// script that it interprets, is in `X.app/Contents/MacOS/` and `X.app/Contents/Info.plist` has the
/// identifier. Processes that can't be inspected or exit during the search are left out. An empty
/// `bundleIdentifier` finds nothing. `failure`, if not null, gets why some may be missing although
/// they could be inspected, such as too few free descriptors; a later search may find them.
[[nodiscard]] std::vector<ApplicationProcess> runningApplications(
    std::optional<std::string_view> bundleIdentifier, std::error_code* failure = nullptr);

}  // namespace platform
