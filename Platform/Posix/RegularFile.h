// Opens regular files only: what else lies at a path is never opened, so that nothing happens to
// it.
#pragma once
#include <string>

#include "Platform/Descriptor.h"

namespace platform {

/// The file at `path` for reading, close-on-exec; empty, with errno set, when there is none, it
/// may not be read, or it is something else: a directory (EISDIR), a symbolic link in the last
/// place where links aren't followed (ELOOP), a device, FIFO or socket (EINVAL). Opening a device
/// can start a watchdog or rewind a tape; opening a FIFO wakes its writer.
[[nodiscard]] Descriptor openRegularFile(const std::string& path, bool followLinks = true);

}  // namespace platform
