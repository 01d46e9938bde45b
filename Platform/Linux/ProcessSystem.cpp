#include "Platform/Posix/ProcessSystem.h"

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "Platform/Linux/Pidfd.h"

namespace platform {

int closeFrom(posix_spawn_file_actions_t& actions, int first) {
  return ::posix_spawn_file_actions_addclosefrom_np(&actions, first);
}

bool isBadExecutable(int error) { return error == ELIBBAD; }

short ownSessionFlags() { return POSIX_SPAWN_SETSID; }

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

char** environmentVariables() { return environ; }

std::string temporaryDirectory() { return "/tmp"; }

ChildEnd::ChildEnd(pid_t pid) : pid_(pid) {
  Descriptor opened = openPidfd(pid);
  wasGone_ = !opened && errno == ESRCH;
  descriptor_ = std::move(opened);
}

int ChildEnd::wait(siginfo_t& information, int options) {
  int answer = 0;
  do {
    const bool hasPidfd = static_cast<bool>(descriptor_);
    answer =
        ::waitid(hasPidfd ? P_PIDFD : P_PID, static_cast<id_t>(hasPidfd ? descriptor_.get() : pid_),
                 &information, WEXITED | options);
    if (answer != 0 && errno == EBADF) {  // it was closed, and another file may have its number
      abandonDescriptor();
    }
  } while (answer != 0 && (errno == EINTR || errno == EBADF));
  return answer;
}

}  // namespace platform
