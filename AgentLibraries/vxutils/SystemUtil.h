// Facts about the system: accounts and the macOS version.
#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace vxutils {

/// The version of the running macOS. `majorOSVersion` is its first component, such as "14", and
/// empty when the version can't be read.
struct MacOSInfo {
  std::string majorOSVersion;
};

class SystemUtil {
 public:
  static SystemUtil& shared();
  /// Reads the version on every call.
  [[nodiscard]] static MacOSInfo macOSInfo();
  /// The numeric user id of a local account; absent when there is no such account.
  [[nodiscard]] std::optional<std::uint32_t> uidForUserAccount(const std::string& name) const;
};

}  // namespace vxutils
