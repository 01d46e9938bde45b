#include "Platform/LocalSocket.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Posix/SocketSystem.h"

namespace platform {
namespace {

/// Empty, with errno set, if a flag can't be set.
Descriptor prepared(int opened, bool blocking) {
  Descriptor made = aboveStandard(opened);
  if (made && ::fcntl(made.get(), F_SETFD, FD_CLOEXEC) == 0 &&
      ::fcntl(made.get(), F_SETFL, blocking ? 0 : O_NONBLOCK) == 0) {
    return made;
  }
  return {};
}

}  // namespace

Descriptor makeSocket(bool blocking) {
  return prepared(::socket(AF_UNIX, SOCK_STREAM, 0), blocking);
}

Descriptor acceptBlocking(const Descriptor& listener) {
  // A connection inherits the listener's options.
  return prepared(::accept(listener.get(), nullptr, nullptr), /*blocking=*/true);
}

ssize_t sendOnce(const Descriptor& socket, std::string_view bytes) noexcept {
  constexpr int kYes = 1;
  if (::setsockopt(socket.get(), SOL_SOCKET, SO_NOSIGPIPE, &kYes, sizeof kYes) != 0) {
    errno = EPIPE;  // fails only once the socket is shut down
    return -1;
  }
  return ::send(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
}

std::optional<std::uint32_t> peerUserID(const Descriptor& socket) {
  uid_t user = 0;
  gid_t group = 0;
  if (::getpeereid(socket.get(), &user, &group) != 0) {
    return std::nullopt;
  }
  return user;
}

}  // namespace platform
