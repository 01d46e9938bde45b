#include "Platform/LocalSocket.h"

#include <sys/socket.h>

#include "Platform/Posix/SocketSystem.h"

namespace platform {

Descriptor makeSocket(bool blocking) {
  return aboveStandard(
      ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | (blocking ? 0 : SOCK_NONBLOCK), 0));
}

Descriptor acceptBlocking(const Descriptor& listener) {
  return aboveStandard(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

ssize_t sendOnce(const Descriptor& socket, std::string_view bytes) noexcept {
  return ::send(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

std::optional<std::uint32_t> peerUserID(const Descriptor& socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    return std::nullopt;
  }
  return peer.uid;
}

}  // namespace platform
