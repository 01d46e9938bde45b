// Opens files: regular ones by path, and any by a descriptor of it.
#pragma once
#include <string>

#include "Platform/Descriptor.h"

namespace platform {

/// Opens `path` for reading, close-on-exec. Empty, with errno set, on failure or if it is a
/// directory (EISDIR), a symbolic link that is not to be followed (ELOOP), a device, FIFO or socket
/// (EINVAL). Opening a device can start a watchdog or rewind a tape; opening a FIFO wakes its
/// writer.
[[nodiscard]] Descriptor openRegularFile(const std::string& path, bool followLinks = true);

/// Opens the file that `descriptor` refers to a second time, with its own flags; close-on-exec,
/// above the standard descriptors. Empty, with errno set, on failure, and for what has no path to
/// open.
[[nodiscard]] Descriptor openAgain(int descriptor, int flags);

}  // namespace platform
