#include "Platform/LocalSocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "Platform/Posix/DescriptorSystem.h"
#include "Platform/Posix/Uninterrupted.h"

namespace platform {
namespace {

constexpr mode_t kOwnerOnly = 0600;
constexpr int kBacklog = 16;

std::unexpected<std::string> failure(int error) {
  return std::unexpected(std::generic_category().message(error));
}

std::expected<sockaddr_un, int> addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.contains('\0')) {  // a leading NUL would name an abstract socket
    return std::unexpected(EINVAL);
  }
  if (path.size() >= sizeof address.sun_path) {
    return std::unexpected(ENAMETOOLONG);
  }
  path.copy(address.sun_path, path.size());
  return address;
}

/// Repeats the call while signals interrupt it. Returns the number of bytes, 0 when the socket is
/// not ready, -1 on any other error.
template <typename Call>
std::ptrdiff_t transferred(const Call& call) {
  const ssize_t count = uninterrupted(call);
  return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) ? 0 : count;
}

/// Removes the socket of an earlier server; anything else stays.
void removeOldSocket(const std::string& path) {
  struct stat status{};
  if (::lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) {
    ::unlink(path.c_str());
  }
}

}  // namespace

std::expected<Descriptor, std::string> connectLocalSocket(const std::string& path,
                                                          std::chrono::milliseconds longestWait) {
  const auto address = addressOf(path);
  if (!address) {
    return failure(address.error());
  }
  Descriptor made = makeSocket(/*blocking=*/true);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(longestWait);
  const auto rest = std::chrono::microseconds(longestWait - seconds);
  const timeval limit{.tv_sec = static_cast<time_t>(seconds.count()),
                      .tv_usec = static_cast<suseconds_t>(rest.count())};
  if (!made ||
      // Limits the wait for a listener whose queue is full.
      ::setsockopt(made.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) != 0) {
    return failure(errno);
  }
  // Signals may interrupt the wait; the retries share one deadline.
  const auto start = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - start < longestWait) {
    if (::connect(made.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0) {
      return made;
    }
    if (errno == EAGAIN) {
      return std::unexpected("its queue of connections is full");
    }
    if (errno != EINTR) {
      break;
    }
  }
  return failure(errno);
}

std::expected<Descriptor, std::string> listenOnLocalSocket(const std::string& path) {
  const auto address = addressOf(path);
  if (!address) {
    return failure(address.error());
  }
  removeOldSocket(path);
  // Non-blocking, because a client may disconnect before it is accepted.
  Descriptor made = makeSocket(/*blocking=*/false);
  // Clients can't connect before listen(), and afterwards only the owner can.
  if (!made ||
      ::bind(made.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) {
    return failure(errno);
  }
  if (::chmod(path.c_str(), kOwnerOnly) != 0 || ::listen(made.get(), kBacklog) != 0) {
    const int error = errno;
    ::unlink(path.c_str());
    return failure(error);
  }
  return made;
}

std::expected<Descriptor, std::error_code> acceptLocalSocket(const Descriptor& listener) {
  Descriptor made = acceptBlocking(listener);
  if (!made) {
    return std::unexpected(std::error_code(errno, std::generic_category()));
  }
  return made;
}

std::ptrdiff_t sendWithoutWaiting(const Descriptor& socket, std::string_view bytes) noexcept {
  return transferred([&] { return sendOnce(socket, bytes); });
}

std::ptrdiff_t receive(const Descriptor& socket, std::span<char> buffer, bool wait) noexcept {
  bool ended = false;
  const std::ptrdiff_t count = transferred([&] {
    const ssize_t got = ::recv(socket.get(), buffer.data(), buffer.size(), wait ? 0 : MSG_DONTWAIT);
    ended = got == 0;
    return got;
  });
  return ended ? -1 : count;
}

void shutDown(const Descriptor& socket) noexcept { ::shutdown(socket.get(), SHUT_RDWR); }

}  // namespace platform
