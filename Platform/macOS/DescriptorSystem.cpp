#include "Platform/Posix/DescriptorSystem.h"

#include <fcntl.h>
#include <sys/param.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "Platform/LocalSocket.h"
#include "Platform/Polling.h"
#include "Platform/Posix/Uninterrupted.h"

namespace platform {
namespace {

/// Close-on-exec and above the standard descriptors. Empty, with errno set, if a flag can't be set.
Descriptor prepared(int opened, bool blocking) {
  Descriptor made = aboveStandard(opened);
  if (made && ::fcntl(made.get(), F_SETFD, FD_CLOEXEC) == 0 &&
      ::fcntl(made.get(), F_SETFL, blocking ? 0 : O_NONBLOCK) == 0) {
    return made;
  }
  return {};
}

/// Whether the file has the size that the process may give it. Writing would raise SIGXFSZ, which
/// the system may deliver to any thread.
bool isAtSizeLimit(int descriptor) {
  rlimit limit{};
  struct stat status{};
  if (::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
      ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    return false;
  }
  const bool appends = (::fcntl(descriptor, F_GETFL) & O_APPEND) != 0;
  const off_t place = appends ? status.st_size : ::lseek(descriptor, 0, SEEK_CUR);
  return static_cast<rlim_t>(place) >= limit.rlim_cur;
}

}  // namespace

Descriptor openRegularFile(const std::string& path, bool followLinks) {
  // Checks before opening, so that nothing else is opened, and again afterwards in case the path
  // changed in between. Opening is non-blocking.
  const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (followLinks ? 0 : O_NOFOLLOW);
  struct stat status{};
  if ((followLinks ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status)) != 0) {
    return {};
  }
  Descriptor file;
  if (S_ISREG(status.st_mode)) {
    file = Descriptor(uninterrupted([&] { return ::open(path.c_str(), flags); }));
    if (!file || ::fstat(file.get(), &status) != 0) {
      return {};
    }
  }
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : S_ISLNK(status.st_mode) ? ELOOP : EINVAL;
    return {};
  }
  return file;
}

Descriptor openAgain(int descriptor, int flags) {
  std::array<char, MAXPATHLEN> path{};
  if (::fcntl(descriptor, F_GETPATH, path.data()) != 0) {
    return {};
  }
  return aboveStandard(::open(path.data(), flags | O_CLOEXEC));
}

std::ptrdiff_t writeWithoutSignal(int descriptor, std::string_view bytes) noexcept {
  if (isAtSizeLimit(descriptor)) {
    errno = EFBIG;
    return -1;
  }
  // Stays set: resetting it would expose another thread or process that shares the open file, like
  // stderr, and writes to it now.
  ::fcntl(descriptor, F_SETNOSIGPIPE, 1);
  return ::write(descriptor, bytes.data(), bytes.size());
}

std::expected<Pipe, std::error_code> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) == 0) {
    Pipe made{.readEnd = prepared(ends[0], /*blocking=*/true),
              .writeEnd = prepared(ends[1], /*blocking=*/true)};
    if (made.readEnd && made.writeEnd) {
      return made;
    }
  }
  return std::unexpected(std::error_code(errno, std::generic_category()));
}

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
