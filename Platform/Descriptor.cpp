#include "Platform/Descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

Descriptor::~Descriptor() { reset(); }

void Descriptor::reset() noexcept {
  if (number_ >= 0) {
    const int why = errno;
    ::close(std::exchange(number_, -1));
    errno = why;
  }
}

Descriptor aboveStandard(int opened) noexcept {
  Descriptor made(opened);
  if (opened >= 0 && opened <= STDERR_FILENO) {
    made = Descriptor(::fcntl(opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  }
  return made;
}

bool isWritable(int descriptor, std::chrono::milliseconds timeout) noexcept {
  pollfd event{.fd = descriptor, .events = POLLOUT, .revents = 0};
  return ::poll(&event, 1, static_cast<int>(timeout.count())) == 1;
}

std::optional<FileIdentity> identityOf(int descriptor) noexcept {
  struct stat status{};
  if (::fstat(descriptor, &status) != 0) {
    return std::nullopt;
  }
  return FileIdentity{.device = static_cast<std::uint64_t>(status.st_dev),
                      .number = static_cast<std::uint64_t>(status.st_ino)};
}

std::int32_t writeAll(int descriptor, std::string_view bytes) noexcept {
  constexpr std::chrono::milliseconds kNoLimit{-1};
  while (!bytes.empty()) {
    const std::ptrdiff_t written = writeWithoutSignal(descriptor, bytes);
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      (void)isWritable(descriptor, kNoLimit);  // as write() would wait without O_NONBLOCK
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace platform
