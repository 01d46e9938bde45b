// Reads the free space of the startup volume.
#pragma once
#include <cstdint>
#include <optional>

namespace vexlo {

/// An evaluation of recorded facts replaces it.
class DiskInfoProvider {
 public:
  virtual ~DiskInfoProvider() = default;
  /// The free bytes of the startup volume; absent if unknown.
  [[nodiscard]] virtual std::optional<std::int64_t> availableDiskSpace() = 0;
};

/// Asks the file system of "/" on every call.
class SystemDiskInfo final : public DiskInfoProvider {
 public:
  [[nodiscard]] std::optional<std::int64_t> availableDiskSpace() override;
};

}  // namespace vexlo
