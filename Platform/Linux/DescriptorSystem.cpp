#include "Platform/Posix/DescriptorSystem.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX, not only C
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>

#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"
#include "Platform/Posix/Uninterrupted.h"

namespace platform {
namespace {

Descriptor openUninterrupted(const std::string& path, int flags) {
  return aboveStandard(uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC); }));
}

}  // namespace

Descriptor openRegularFile(const std::string& path, bool followLinks) {
  // An O_PATH descriptor only names the file; reopening it through /proc opens that same file.
  const Descriptor place = openUninterrupted(path, O_PATH | (followLinks ? 0 : O_NOFOLLOW));
  struct stat status{};
  if (!place || ::fstat(place.get(), &status) != 0) {
    return {};
  }
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : S_ISLNK(status.st_mode) ? ELOOP : EINVAL;
    return {};
  }
  return openAgain(place.get(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
}

Descriptor openAgain(int descriptor, int flags) {
  return openUninterrupted("/proc/self/fd/" + std::to_string(descriptor), flags);
}

std::ptrdiff_t writeWithoutSignal(int descriptor, std::string_view bytes) noexcept {
  // Both are directed at the writing thread, so they are blocked in this thread only, and the
  // write's own is consumed before the mask is restored.
  sigset_t signals;
  sigset_t former;
  sigset_t pending;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGPIPE);
  ::sigaddset(&signals, SIGXFSZ);
  ::pthread_sigmask(SIG_BLOCK, &signals, &former);
  ::sigpending(&pending);
  const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
  const int error = errno;
  const int own = error == EPIPE ? SIGPIPE : SIGXFSZ;
  if (written < 0 && (error == EPIPE || error == EFBIG) && ::sigismember(&pending, own) == 0) {
    constexpr timespec kNoWait{};
    ::sigdelset(&signals, own == SIGPIPE ? SIGXFSZ : SIGPIPE);
    while (::sigtimedwait(&signals, nullptr, &kNoWait) < 0 && errno == EINTR) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
  errno = error;
  return written;
}

std::expected<Pipe, std::error_code> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
    Pipe made{.readEnd = aboveStandard(ends[0]), .writeEnd = aboveStandard(ends[1])};
    if (made.readEnd && made.writeEnd) {
      return made;
    }
  }
  return std::unexpected(std::error_code(errno, std::generic_category()));
}

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
