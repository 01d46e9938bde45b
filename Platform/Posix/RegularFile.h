// Opens regular files only. Anything else is never opened, because opening can have side effects.
#pragma once
#include <string>

#include "Platform/Descriptor.h"

namespace platform {

/// Opens `path` for reading, close-on-exec. Empty, with errno set, on failure or if it is a
/// directory (EISDIR), a symbolic link that is not to be followed (ELOOP), a device, FIFO or socket
/// (EINVAL). Opening a device can start a watchdog or rewind a tape; opening a FIFO wakes its
/// writer.
[[nodiscard]] Descriptor openRegularFile(const std::string& path, bool followLinks = true);

}  // namespace platform
