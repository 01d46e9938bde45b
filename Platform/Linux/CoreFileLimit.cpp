#include "Platform/Posix/CoreFileLimit.h"

namespace platform {

// When core files are piped to a program, the kernel ignores every limit except 1, which means no
// core file. As a size limit, one byte is too small for any core file.
rlim_t limitWithoutCoreFile() noexcept { return 1; }

}  // namespace platform
