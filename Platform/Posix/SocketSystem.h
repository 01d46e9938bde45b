// What local sockets need of each system in its own way. Internal to LocalSocket, as is peerUserID.
#pragma once
#include <sys/types.h>

#include <string_view>

#include "Platform/Descriptor.h"

namespace platform {

/// A local stream socket, close-on-exec, above the standard descriptors; empty, with errno set,
/// when there can be none.
[[nodiscard]] Descriptor makeSocket(bool blocking);

/// accept(): the connection blocks, whatever the listener does, is close-on-exec and lies above the
/// standard descriptors. Empty, with errno set, on an error.
[[nodiscard]] Descriptor acceptBlocking(const Descriptor& listener);

/// send() that raises no SIGPIPE when the peer has gone.
[[nodiscard]] ssize_t sendWithoutSignal(const Descriptor& socket, std::string_view bytes,
                                        int flags) noexcept;

}  // namespace platform
