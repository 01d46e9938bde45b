#include "Platform/Posix/ProcessSystem.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Linux/Pidfd.h"

namespace platform {

int closeFrom(posix_spawn_file_actions_t& actions, int first) {
  return ::posix_spawn_file_actions_addclosefrom_np(&actions, first);
}

bool isBadExecutable(int error) { return error == ELIBBAD; }

short ownSessionFlags() { return POSIX_SPAWN_SETSID; }

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
