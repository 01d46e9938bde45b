// Unix-domain stream sockets with the peer's identity. None of them is inherited by a child.
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

/// Connects to the socket at `path`. The error text is the system's reason. A listener whose queue
/// stays full for longer than `longestWait` is an error.
[[nodiscard]] std::expected<Descriptor, std::string> connectLocalSocket(
    const std::string& path, std::chrono::milliseconds longestWait = kLongestConnect);
/// Makes a listening socket at `path` (an old socket there is replaced), for its owner only.
[[nodiscard]] std::expected<Descriptor, std::string> listenOnLocalSocket(const std::string& path);
/// Takes a connection that waits at the listening socket: an error, at once, when none does.
[[nodiscard]] std::expected<Descriptor, std::error_code> acceptLocalSocket(
    const Descriptor& listener);

/// Sends what the socket takes at once: the number of bytes, 0 when it takes none now, -1 when the
/// peer has gone, which raises no SIGPIPE.
[[nodiscard]] std::ptrdiff_t sendWithoutWaiting(const Descriptor& socket,
                                                std::string_view bytes) noexcept;
/// Receives what is there into `buffer`, which is not empty, waiting for the first byte when
/// `wait`: the number of bytes, 0 when nothing is there now, -1 when the peer has gone.
[[nodiscard]] std::ptrdiff_t receive(const Descriptor& socket, std::span<char> buffer,
                                     bool wait) noexcept;
/// Ends the conversation in both directions; a thread that waits for bytes sees the peer gone.
void hangUp(const Descriptor& socket) noexcept;

/// The user id that the process at the other end runs as; absent when the system can't say.
[[nodiscard]] std::optional<std::uint32_t> peerUserID(const Descriptor& socket);

}  // namespace platform
