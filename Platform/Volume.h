// Free space of a volume.
#pragma once
#include <cstdint>
#include <expected>
#include <optional>
#include <string>

namespace platform {

/// Bytes available to unprivileged processes on the volume of `path`, excluding what is reserved
/// for root; saturates at 2^63 - 1. Absent if the volume doesn't report it. The error is the
/// system's message.
[[nodiscard]] std::expected<std::optional<std::int64_t>, std::string> availableCapacity(
    const std::string& path);

}  // namespace platform
