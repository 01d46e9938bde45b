// Where the macOS version is read. Internal.
#pragma once
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The product version that the first usable one of the property lists names. A file that can't be
/// read for a reason that passes (no free descriptor, no memory, a failing disk) is tried a few
/// times more, with a call of `sleep` between: this version decides how passwords travel, so one
/// bad moment must not hide it.
[[nodiscard]] std::optional<std::string> productVersionFrom(
    const std::vector<std::string>& files,
    const std::function<void(std::chrono::milliseconds)>& sleep);

/// The product version that the kernel names; absent where it names none.
[[nodiscard]] std::optional<std::string> productVersionFromKernel();

}  // namespace platform
