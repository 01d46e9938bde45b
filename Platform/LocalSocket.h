// Unix-domain stream sockets with the peer's identity.
#pragma once
#include <cstdint>
#include <expected>
#include <optional>
#include <string>

#include "Platform/Descriptor.h"

namespace platform {

/// Connects to the socket at `path`. The error text is the system's reason. Close-on-exec. A
/// listener that does not take the connection within five seconds is an error. Send with
/// MSG_NOSIGNAL: a peer that has gone is then an error and no SIGPIPE.
[[nodiscard]] std::expected<Descriptor, std::string> connectLocalSocket(const std::string& path);
/// Makes a listening socket at `path` (an old socket there is replaced), for its owner only.
[[nodiscard]] std::expected<Descriptor, std::string> listenOnLocalSocket(const std::string& path);
/// The user id that the process at the other end runs as; absent when the system can't say.
[[nodiscard]] std::optional<std::uint32_t> peerUserID(const Descriptor& socket);

}  // namespace platform
