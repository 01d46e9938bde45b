// The system-specific ways to open and use descriptors, beside those of Descriptor.h, Polling.h and
// LocalSocket.h. Internal.
#pragma once
#include <sys/types.h>

#include <string>
#include <string_view>

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

/// A local stream socket, close-on-exec, above the standard descriptors; empty, with errno set, on
/// failure.
[[nodiscard]] Descriptor makeSocket(bool blocking);

/// accept() that returns a blocking, close-on-exec connection above the standard descriptors.
/// Empty, with errno set, on failure.
[[nodiscard]] Descriptor acceptBlocking(const Descriptor& listener);

/// send() that neither blocks nor raises SIGPIPE.
[[nodiscard]] ssize_t sendOnce(const Descriptor& socket, std::string_view bytes) noexcept;

}  // namespace platform
