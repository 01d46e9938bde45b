// The system-specific parts of local sockets, except for peerUserID. Internal to LocalSocket.
#pragma once
#include <sys/types.h>

#include <string_view>

#include "Platform/Descriptor.h"

namespace platform {

/// A local stream socket, close-on-exec, above the standard descriptors; empty, with errno set, on
/// failure.
[[nodiscard]] Descriptor makeSocket(bool blocking);

/// accept() that returns a blocking, close-on-exec connection above the standard descriptors.
/// Empty, with errno set, on failure.
[[nodiscard]] Descriptor acceptBlocking(const Descriptor& listener);

/// send() that neither blocks nor raises SIGPIPE.
[[nodiscard]] ssize_t sendOnce(const Descriptor& socket, std::string_view bytes) noexcept;

}  // namespace platform
