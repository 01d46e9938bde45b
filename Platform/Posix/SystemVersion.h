// Reads the macOS version. Internal.
#pragma once
#include <optional>
#include <string>
#include <vector>

#include "Platform/Calendar.h"

namespace platform {

/// The product version from the first usable property list. Transient errors (out of descriptors or
/// memory, an I/O error) are retried a few times with a call to `sleep` in between, because the
/// version decides how passwords are passed.
[[nodiscard]] std::optional<std::string> productVersionFrom(const std::vector<std::string>& files,
                                                            const Sleeper& sleep);

/// The product version that the kernel reports; absent if it reports none.
[[nodiscard]] std::optional<std::string> productVersionFromKernel();

}  // namespace platform
