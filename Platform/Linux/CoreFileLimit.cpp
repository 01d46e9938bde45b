#include "Platform/Posix/CoreFileLimit.h"

namespace platform {

// Where core files go to a program, the kernel ignores every limit but this one, which stands for
// "none"; a file of one byte it does not begin.
rlim_t limitWithoutCoreFile() noexcept { return 1; }

}  // namespace platform
