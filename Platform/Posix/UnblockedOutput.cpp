#include "Platform/UnblockedOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Platform/LocalSocket.h"
#include "Platform/Posix/DescriptorSystem.h"
#include "Platform/Posix/Uninterrupted.h"

namespace platform {

UnblockedOutput::UnblockedOutput(int descriptor) {
  struct stat status{};
  if (::fstat(descriptor, &status) != 0) {
    return;
  }
  const bool isTerminal = ::isatty(descriptor) == 1;
  if (S_ISFIFO(status.st_mode) || isTerminal) {
    file_ = openAgain(descriptor, O_WRONLY | O_NONBLOCK | O_NOCTTY);
    if (isFileOf(descriptor)) {
      return;
    }
    way_ = isTerminal ? Way::terminalInBytes : Way::pipeInPieces;
  } else if (S_ISSOCK(status.st_mode)) {
    way_ = Way::socket;
  }
  file_ = Descriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

bool UnblockedOutput::isFileOf(int descriptor) const noexcept {
  const auto own = identityOf(file_.get());
  return own && own == identityOf(descriptor);
}

std::ptrdiff_t UnblockedOutput::write(std::string_view bytes) const noexcept {
  if (way_ == Way::socket) {
    return sendWithoutWaiting(file_, bytes);
  }
  if (way_ == Way::pipeInPieces || way_ == Way::terminalInBytes) {
    // A pipe that is writable has room for this many: the minimum PIPE_BUF of POSIX.
    constexpr std::size_t kAtomicWriteBytes = 512;
    if (!isWritable(file_.get(), std::chrono::milliseconds::zero())) {
      return 0;
    }
    bytes = bytes.substr(0, way_ == Way::pipeInPieces ? kAtomicWriteBytes : 1);
  }
  const std::ptrdiff_t count =
      uninterrupted([&] { return writeWithoutSignal(file_.get(), bytes); });
  return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) ? 0 : count;
}

void UnblockedOutput::waitForRoom(std::chrono::nanoseconds longest) const noexcept {
  // A pipe with room for a byte may not have it for a line, so there is a shortest wait, too.
  constexpr std::chrono::milliseconds kShortest{2};
  using std::chrono::milliseconds;
  pollfd none{.fd = -1, .events = 0, .revents = 0};
  ::poll(&none, 1,
         static_cast<int>(std::min(kShortest, std::chrono::ceil<milliseconds>(longest)).count()));
  (void)isWritable(file_.get(), std::max(std::chrono::floor<milliseconds>(longest) - kShortest,
                                         milliseconds::zero()));
}

}  // namespace platform
