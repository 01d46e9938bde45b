// The core file size limit that prevents core files. Internal.
#pragma once
#include <sys/resource.h>

namespace platform {

[[nodiscard]] rlim_t limitWithoutCoreFile() noexcept;

}  // namespace platform
