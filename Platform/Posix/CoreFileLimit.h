// The limit of core files under which a process leaves none. Internal.
#pragma once
#include <sys/resource.h>

namespace platform {

[[nodiscard]] rlim_t limitWithoutCoreFile() noexcept;

}  // namespace platform
