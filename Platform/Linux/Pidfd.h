// Descriptors that stand for one process: an id that is used again is not mistaken for it.
#pragma once
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include "Platform/Descriptor.h"

// By system call: the header of this glibc declares its functions for C only.
namespace platform {

/// Close-on-exec and readable at the process's end; empty, with errno set, when there is no such
/// process.
[[nodiscard]] inline Descriptor openPidfd(pid_t pid) {
  return aboveStandard(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

/// 0, or -1 with errno set.
inline int sendPidfdSignal(const Descriptor& pidfd, int signal) {
  return static_cast<int>(::syscall(SYS_pidfd_send_signal, pidfd.get(), signal, nullptr, 0));
}

}  // namespace platform
