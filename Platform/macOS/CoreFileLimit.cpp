#include "Platform/Posix/CoreFileLimit.h"

namespace platform {

rlim_t limitWithoutCoreFile() noexcept { return 0; }

}  // namespace platform
