// Fetches the free space of the start-up volume.
#pragma once
#include <cstdint>
#include <optional>

namespace vexlo {

class DiskInfoProvider {
 public:
  virtual ~DiskInfoProvider() = default;
  /// The free bytes of the start-up volume; absent when they can't be learnt.
  [[nodiscard]] virtual std::optional<std::int64_t> availableDiskSpace() = 0;
};

/// Asks the file system of "/" anew on every call.
class SystemDiskInfo final : public DiskInfoProvider {
 public:
  [[nodiscard]] std::optional<std::int64_t> availableDiskSpace() override;
};

}  // namespace vexlo
