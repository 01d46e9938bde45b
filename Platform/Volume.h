// Capacity of a file system's volume.
#pragma once
#include <cstdint>
#include <expected>
#include <optional>
#include <string>

namespace platform {

/// Bytes that a process without privileges may still write on the volume of `path`, saturated at
/// 2^63 - 1: what the file system holds back for root does not count. An absent value: the volume
/// reports none. The error text is the system's reason.
[[nodiscard]] std::expected<std::optional<std::int64_t>, std::string> availableCapacity(
    const std::string& path);

}  // namespace platform
