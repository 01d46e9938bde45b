// Unix-domain stream sockets with the peer's identity. Children don't inherit them.
#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "Platform/Descriptor.h"

namespace platform {

constexpr std::chrono::milliseconds kLongestConnect{5000};

/// Connects to the socket at `path`. The error is the system's message. Fails if the listener's
/// queue stays full for longer than `longestWait`.
[[nodiscard]] std::expected<Descriptor, std::string> connectLocalSocket(
    const std::string& path, std::chrono::milliseconds longestWait = kLongestConnect);
/// Creates a listening socket at `path` that only its owner can connect to, replacing an old one.
[[nodiscard]] std::expected<Descriptor, std::string> listenOnLocalSocket(const std::string& path);
/// Accepts a pending connection without blocking; an error when there is none.
[[nodiscard]] std::expected<Descriptor, std::error_code> acceptLocalSocket(
    const Descriptor& listener);

/// Sends without blocking or raising SIGPIPE. Returns the number of bytes, 0 when the socket is
/// full, -1 when the peer has disconnected.
[[nodiscard]] std::ptrdiff_t sendWithoutWaiting(const Descriptor& socket,
                                                std::string_view bytes) noexcept;
/// Receives into `buffer`, which must not be empty, and blocks for the first byte if `wait`.
/// Returns the number of bytes, 0 when there are none now, -1 when the peer has disconnected.
[[nodiscard]] std::ptrdiff_t receive(const Descriptor& socket, std::span<char> buffer,
                                     bool wait) noexcept;
/// Shuts the socket down in both directions; a blocked `receive` returns -1.
void shutDown(const Descriptor& socket) noexcept;

/// The user id of the peer's process; absent if the system can't tell.
[[nodiscard]] std::optional<std::uint32_t> peerUserID(const Descriptor& socket);

}  // namespace platform
