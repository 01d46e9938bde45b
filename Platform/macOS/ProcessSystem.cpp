#include "Platform/Posix/ProcessSystem.h"

#include <crt_externs.h>
#include <fcntl.h>
#include <sys/event.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

#include "Platform/Posix/Uninterrupted.h"

namespace platform {

int closeFrom(posix_spawn_file_actions_t& /*actions*/, int /*first*/) {
  return 0;  // ownSessionFlags() makes the system close everything else
}

bool isBadExecutable(int error) {
  return error == EBADEXEC || error == EBADARCH || error == EBADMACHO;
}

short ownSessionFlags() { return POSIX_SPAWN_SETSID | POSIX_SPAWN_CLOEXEC_DEFAULT; }

char** environmentVariables() { return *::_NSGetEnviron(); }

std::string temporaryDirectory() {
  std::array<char, PATH_MAX> folder{};
  const std::size_t size = ::confstr(_CS_DARWIN_USER_TEMP_DIR, folder.data(), folder.size());
  std::string path = size > 1 && size <= folder.size() ? folder.data() : "/tmp";
  while (path.size() > 1 && path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

ChildEnd::ChildEnd(pid_t pid) : pid_(pid) {
  Descriptor queue(::kqueue());
  if (!queue || ::fcntl(queue.get(), F_SETFD, FD_CLOEXEC) != 0) {
    return;
  }
  struct kevent end{};
  EV_SET(&end, static_cast<uintptr_t>(pid), EVFILT_PROC, EV_ADD, NOTE_EXIT | NOTE_EXITSTATUS, 0,
         nullptr);
  if (::kevent(queue.get(), &end, 1, nullptr, 0, nullptr) == 0) {
    descriptor_ = std::move(queue);
    return;
  }
  // Means no such process, but is also returned for a zombie.
  siginfo_t information{};
  wasGone_ = errno == ESRCH && wait(information, WNOHANG | WNOWAIT) != 0;
}

int ChildEnd::wait(siginfo_t& information, int options) {
  const int answer = uninterrupted(
      [&] { return ::waitid(P_PID, static_cast<id_t>(pid_), &information, WEXITED | options); });
  if (answer == 0 || errno != ECHILD || !descriptor_) {
    return answer;
  }
  // Other code has taken the status, or the process ignores SIGCHLD; the queue still reports the
  // exit.
  struct kevent end{};
  const timespec noWait{};
  if (::kevent(descriptor_.get(), nullptr, 0, &end, 1, &noWait) != 1) {
    errno = ECHILD;
    return -1;
  }
  const int status = static_cast<int>(end.data);
  information.si_pid = pid_;
  information.si_code = WIFEXITED(status) ? CLD_EXITED : CLD_KILLED;
  information.si_status = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
  return 0;
}

}  // namespace platform
